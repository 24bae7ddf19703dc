#include "device/file_check.h"

#include "base/text_format.h"
#include "device/model_table.h"
#include "device/quantities.h"
#include "device/unit_systems.h"

#include <filesystem>

namespace kovin {

namespace {

constexpr std::string_view standard_spectrum = "AM1_5G 1 sun.spe";

/// Grading files of a material in the order in which they are looked for.
struct GradingRow {
    Profile MaterialParameters::*member;
    std::string_view what;
};
using M = MaterialParameters;
constexpr GradingRow grading_rows[] = {
    {&M::Eg, "Eg"},
    {&M::chi, "chi"},
    {&M::eps, "epsilon"},
    {&M::Nc, "NC"},
    {&M::Nv, "NV"},
    {&M::mu_n, "mu_n"},
    {&M::mu_p, "mu_p"},
    {&M::m_e, "m_e"},
    {&M::m_h, "m_h"},
    {&M::v_th_n, "v_thn"},
    {&M::v_th_p, "v_thp"},
    {&M::K_rad, "Radiative rate"},
    {&M::c_n_auger, "Auger C_n"},
    {&M::c_p_auger, "Auger C_p"},
    {&M::Na, "Na"},
    {&M::Nd, "Nd"},
};

void filter_file(ContactParameters& contact, const std::string& side, const NeededFileVisitor& each)
{
    if (!contact.filter || contact.filter_constant) return;
    // A file that names a filter file has no value, and a transmission of 0 would leave the cell in the dark.
    const bool no_value = contact.filter_transmission && contact.filter_value == 0.0;
    const double value = no_value ? 1.0 : contact.filter_value;
    each({FileKind::filter, "Filter file (" + side + " contact)", contact.filter_file, "Switch to Filter from value",
          std::string("switched to Filter from value, a ") +
              (contact.filter_transmission ? "transmission of " : "reflection of ") + shortest(value),
          side, "filterfile"},
         [&contact, value] {
             contact.filter_constant = true;
             contact.filter_value = value;
         });
}

/// @param told  how an automatic repair begins
void grading_file(Profile& profile, const std::string& what, const std::string& told, const std::string& section,
                  const std::string& keyword, const NeededFileVisitor& each)
{
    if (profile.law != Law::from_file || profile.dependence == Dependence::uniform) return;
    each({FileKind::grading, what, profile.file, "Set grading to Linear", told + " set to Linear", section, keyword},
         [&] {
             profile.law = Law::linear;
             SetProfileScaleParameters(profile);
         });
}

std::string word_of(Profile MaterialParameters::*member)
{
    for (const QuantityRow& row : graded_quantities())
        if (row.member == member) return std::string(row.word);
    return {};
}

void defect_files(LayerParameters& layer, const std::string& start, const std::string& place,
                  const NeededFileVisitor& each)
{
    for (int k = 0; k < layer.srhteller; ++k) {
        auto& levels = layer.srh[static_cast<std::size_t>(k)];
        const std::string defect = start + " defect " + integer(k + 1) + ": ";
        const std::string section = place + "/defect " + integer(k + 1);
        grading_file(levels[0].Nt, defect + "Defect density grading file", "Nt grading", section, "Nt", each);
        for (auto& level : levels) level.Nt = levels[0].Nt;
        for (int i = 0; i < levels[0].levels; ++i) {
            auto& level = levels[static_cast<std::size_t>(i)];
            for (auto* capture : {&level.electrons, &level.holes}) {
                if (!capture->present || capture->from_model) continue;
                const std::string carrier = capture == &level.electrons ? "electrons" : "holes";
                each({FileKind::optical_capture, defect + "Optical capture cross section file for " + carrier,
                      capture->file, "Switch to internal optical capture model",
                      "IPV optcapt set to internal KOVIN model", section, carrier},
                     [&] { capture->from_model = true; });
            }
        }
    }
    for (auto& pair : layer.metastable)
        if (pair.present)
            grading_file(pair.Nt,
                         start + " metastable transition " + integer(pair.number + 1) + ": Defect density grading file",
                         "Nt grading", place + "/metastable " + integer(pair.number + 1), "Nt", each);
}

void layer_files(LayerParameters& layer, int number, bool lit, const NeededFileVisitor& each)
{
    const std::string by_number = "Layer " + integer(number) + ": ";
    const std::string by_name = "Layer " + (layer.name.empty() ? integer(number) : layer.name);
    MaterialParameters& material = layer.material;
    const std::string section = "layer " + integer(number);
    const auto grading = [&](Profile& profile, std::string_view what, const std::string& keyword) {
        grading_file(profile, by_number + std::string(what) + " grading file", "grading", section, keyword, each);
    };
    grading(layer.composition, "Composition", "composition");
    for (const GradingRow& row : grading_rows) grading(material.*row.member, row.what, word_of(row.member));
    const auto absorption_file = [&](bool from_file, const std::string& name, const char* which, WhichMaterial side) {
        if (!from_file || !lit) return;
        each({FileKind::absorption, by_name + ": absorption file (" + which + ")", name,
              "Switch to default absorption model", "absorption set to internal KOVIN model", section, which},
             [&, side] {
                 (side == WhichMaterial::A ? material.absorption.pure_A_from_file
                                           : material.absorption.pure_B_from_file) = false;
                 SetDefaultAbsorptionModel(material.absorption, material.Eg.pure_A, material.Eg.pure_B, side, 63);
             });
    };
    absorption_file(material.absorption.pure_A_from_file, material.absorption.file_A, "pure A", WhichMaterial::A);
    absorption_file(material.absorption.pure_B_from_file, material.absorption.file_B, "pure B", WhichMaterial::B);
    defect_files(layer, by_name, section, each);
}

void spectrum_file(WorkPoint& point, const std::string& which, const std::string& section,
                   const NeededFileVisitor& each)
{
    if (!point.spectrumFromFile) return;
    each({FileKind::spectrum, "Spectrum file" + which, point.spectrumFile, "Set to standard AM1.5G spectrum",
          "standard KOVIN AM1.5G 1 sun spectrum set", section, "spectrum"},
         [&] { point.spectrumFile = standard_spectrum; });
}

/// Does light pass the contacts? Neither in the dark nor where G(x) is given.
bool light_enters(const WorkPoint& point) { return !point.dark && !point.generationSpecified; }

std::string not_found(const NeededFile& file)
{
    return file.what + ' ' + (file.name.empty() ? "(no name given)" : file.name) + " not found";
}

}  // namespace

bool IsFileFound(const Surroundings& surroundings, std::string_view name, FileKind kind)
{
    if (name.empty()) return false;
    std::error_code error;
    const auto path = CheckKOVINPaths(surroundings.folders, name, kind);
    return std::filesystem::is_regular_file(path, error) && std::filesystem::file_size(path, error) > 0 && !error;
}

void for_each_light_file(WorkPoint& point, const std::string& which, const NeededFileVisitor& each)
{
    if (point.dark) return;
    const std::string section = which.empty() ? "" : "Secondworkpoint";
    if (point.generationSpecified && point.generationFromFile)
        each({FileKind::generation, "Generation file" + which, point.generationFile,
              "Switch to Generation from internal KOVIN calculation", "illumination mode set to internal KOVIN model",
              section, "generation"},
             [&] { point.generationSpecified = false; });
    if (!point.generationSpecified) spectrum_file(point, which, section, each);
}

void for_each_needed_file(CellParameters& cell, ActionPanel& panel, const NeededFileVisitor& each)
{
    // The light of a probe enters whatever the bias light is; in the dark the spectrum tells which way a light current
    // flows.
    const bool probed = panel.actions.QE_calculate;
    if (probed && panel.workPoint.dark) spectrum_file(panel.workPoint, "", "", each);
    for_each_light_file(panel.workPoint, "", each);
    if (CheckMETAMode(cell)) for_each_light_file(panel.secondWorkPoint, " (initial wp)", each);
    const bool enters =
        probed || light_enters(panel.workPoint) || (CheckMETAMode(cell) && light_enters(panel.secondWorkPoint));
    if (enters) {
        filter_file(cell.left, "left", each);
        filter_file(cell.right, "right", each);
    }
    for (int i = 0; i < cell.layers; ++i) layer_files(cell.layer[static_cast<std::size_t>(i)], i + 1, enters, each);
}

std::vector<NeededFile> missing_files(const Surroundings& surroundings, CellParameters cell, ActionPanel panel)
{
    std::vector<NeededFile> missing;
    for_each_needed_file(cell, panel, [&](const NeededFile& file, const auto&) {
        if (!IsFileFound(surroundings, file.name, file.kind)) missing.push_back(file);
    });
    return missing;
}

bool CanAllFilesBeFound(Surroundings& surroundings, CellParameters& cell, ActionPanel& panel, MissingFiles mode)
{
    constexpr const char* title = "Error whilst checking files for existence";
    if (surroundings.report.ErrorMessageMode != 0) mode = MissingFiles::repair;
    bool all = true;
    for_each_needed_file(cell, panel, [&](const NeededFile& file, const std::function<void()>& do_without) {
        if (IsFileFound(surroundings, file.name, file.kind)) return;
        // The stand-in of a spectrum is a file itself, which may be missing as well.
        const bool can_repair =
            mode == MissingFiles::repair &&
            (file.kind != FileKind::spectrum || IsFileFound(surroundings, standard_spectrum, FileKind::spectrum));
        if (can_repair) do_without();
        all = all && can_repair;
        KOVINErrorMessage(surroundings.report, title,
                          not_found(file) + (can_repair ? "; " + file.repair : " (" + file.remedy + "?)"));
    });
    return all;
}

}  // namespace kovin
