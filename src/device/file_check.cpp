#include "device/file_check.h"

#include "base/text_format.h"
#include "device/quantities.h"
#include "device/unit_systems.h"

#include <filesystem>

namespace kovin {

namespace {

/// One check after the other, all missing files in one go.
struct Check {
    Surroundings& surroundings;
    bool all_found = true;

    void file(bool needed, const std::string& name, FileKind kind, const std::string& what)
    {
        if (!needed || IsFileFound(surroundings, name, kind)) return;
        all_found = false;
        KOVINErrorMessage(surroundings.report, "Error whilst checking files for existence",
                          what + " " + (name.empty() ? "(no name given)" : name) + " not found");
    }
    void profile(const Profile& p, const std::string& what)
    {
        file(p.law == Law::from_file, p.file, FileKind::grading, what);
    }
};

void check_light(Check& check, const WorkPoint& point, const std::string& suffix)
{
    if (point.dark) return;
    check.file(point.generationSpecified && point.generationFromFile, point.generationFile, FileKind::generation,
               "Generation file" + suffix);
    check.file(!point.generationSpecified && point.spectrumFromFile, point.spectrumFile, FileKind::spectrum,
               "Spectrum file" + suffix);
}

void check_layer(Check& check, const LayerParameters& layer, int number)
{
    const std::string start = "Layer " + integer(number) + ": ";
    const Absorption& a = layer.material.absorption;
    check.profile(layer.composition, start + "Composition grading file");
    for (const QuantityRow& row : graded_quantities())
        check.profile(layer.material.*row.member, start + std::string(row.word) + " grading file");
    check.file(a.pure_A_from_file, a.file_A, FileKind::absorption, start + "absorption file (pure A)");
    check.file(a.pure_B_from_file, a.file_B, FileKind::absorption, start + "absorption file (pure B)");
    for (int k = 0; k < layer.srhteller; ++k) {
        const auto& levels = layer.srh[static_cast<std::size_t>(k)];
        const std::string defect = "Layer " + integer(number) + " defect " + integer(k + 1) + ": ";
        check.profile(levels[0].Nt, defect + "Defect density grading file");
        for (int i = 0; i < levels[0].levels; ++i) {
            const auto& level = levels[static_cast<std::size_t>(i)];
            for (const auto* capture : {&level.electrons, &level.holes})
                check.file(capture->present && !capture->from_model, capture->file, FileKind::optical_capture,
                           defect + "Optical capture cross section file for " +
                               (capture == &level.electrons ? "electrons" : "holes"));
        }
    }
}

}  // namespace

bool IsFileFound(const Surroundings& surroundings, std::string_view name, FileKind kind)
{
    if (name.empty()) return false;
    std::error_code error;
    const auto path = CheckKOVINPaths(surroundings.folders, name, kind);
    return std::filesystem::is_regular_file(path, error) && std::filesystem::file_size(path, error) > 0 && !error;
}

bool CanAllFilesBeFound(Surroundings& surroundings, const CellParameters& cell, const ActionPanel& panel)
{
    Check check{.surroundings = surroundings};
    check_light(check, panel.workPoint, "");
    if (CheckMETAMode(cell)) check_light(check, panel.secondWorkPoint, " (initial wp)");
    const auto filter = [&](const ContactParameters& contact, const char* what) {
        check.file(contact.filter && !contact.filter_constant, contact.filter_file, FileKind::filter, what);
    };
    filter(cell.left, "Filter file (left contact)");
    filter(cell.right, "Filter file (right contact)");
    for (int i = 0; i < cell.layers; ++i) check_layer(check, cell.layer[static_cast<std::size_t>(i)], i + 1);
    return check.all_found;
}

}  // namespace kovin
