#include "results/material_tables.h"

#include "device/model_table.h"
#include "device/on_mesh.h"
#include "device/quantities.h"
#include "optics/absorption_on_mesh.h"
#include "results/columns.h"
#include "results/header.h"

#include <algorithm>
#include <array>

namespace kovin {

namespace {

constexpr NumberFormat length{NumberFormat::fixed_point, 14, 6};
constexpr NumberFormat energy{NumberFormat::fixed_point, 14, 8};
constexpr NumberFormat density{NumberFormat::with_exponent, 16, 8};

using M = MaterialParameters;
struct GradedColumn {
    std::string_view heading;
    Profile M::*member;
    NumberFormat format;
    Profile M::*less = nullptr;  ///< taken off
};
constexpr GradedColumn graded_columns[] = {
    {"Eg (eV)", &M::Eg, energy},
    {"Chi (eV)", &M::chi, energy},
    {"NC (1/cm3)", &M::Nc, density},
    {"NV(/cm3)", &M::Nv, density},
    {"mu_n (cm2/Vs)", &M::mu_n, density},
    {"mu_p (cm2/Vs)", &M::mu_p, density},
    {"ND - NA (1/cm3)", &M::Nd, density, &M::Na},
    {"epsilon", &M::eps, energy},
    {"vth_n (cm/s)", &M::v_th_n, density},
    {"vth_p (cm/s)", &M::v_th_p, density},
    {"K_rad (cm3/s)", &M::K_rad, density},
    {"Auger C_n (cm6/s)", &M::c_n_auger, density},
    {"Auger C_p (cm6/s)", &M::c_p_auger, density},
};

/// From SI to the units of the headings.
double user_factor(Profile M::*member)
{
    const auto rows = graded_quantities();
    const auto row = std::find_if(rows.begin(), rows.end(), [=](const QuantityRow& r) { return r.member == member; });
    return row == rows.end() ? 1.0 : row->user_factor;
}

/// Where the absorption of a layer comes from.
std::string absorption_source(const LayerParameters& layer)
{
    const Absorption& a = layer.material.absorption;
    const std::string A = a.pure_A_from_file ? a.file_A : "model", B = a.pure_B_from_file ? a.file_B : "model";
    if (absorption_follows_composition(layer)) return A + ", " + B;
    return absorption_of_pure_B(layer) ? B : A;
}

}  // namespace

std::string grading_table(const std::string& version, const RunRecord& run, const CalculationParameters& set3,
                          const Mesh& mesh)
{
    const auto N = static_cast<std::size_t>(mesh.N);
    std::array<std::vector<double>, std::size(graded_columns)> values;
    std::vector<double> less(N);
    std::string out = WriteOutputHeader(version, run, OutputKind::grading, true);
    out += "i\tx(\xB5m)\ty";
    for (std::size_t c = 0; c < values.size(); ++c) {
        const GradedColumn& column = graded_columns[c];
        out += '\t';
        out += column.heading;
        values[c].resize(N);
        graded_values(set3, mesh, column.member, values[c]);
        if (column.less != nullptr) {
            graded_values(set3, mesh, column.less, less);
            for (std::size_t i = 0; i < N; ++i) values[c][i] -= less[i];
        }
        for (double& value : values[c]) value *= user_factor(column.member);
    }
    out += '\n';
    for (std::size_t i = 0; i < N; ++i) {
        out += integer(static_cast<long>(i), 3) + '\t' + formatted(length, mesh.x_um[i]) + '\t' +
               formatted(energy, mesh.y[i]);
        for (std::size_t c = 0; c < values.size(); ++c) out += '\t' + formatted(graded_columns[c].format, values[c][i]);
        out += '\n';
    }
    return out;
}

std::string BewaarAlfa(Report& report, const RunRecord& run, const CalculationParameters& set3, const Mesh& mesh,
                       const GenerationParameters& gp)
{
    const AbsorptionOnMesh& absorption = gp.absorption;
    if (absorption.alpha.empty() || absorption.of_point.size() != static_cast<std::size_t>(mesh.N)) {
        KOVINErrorMessage(report, "Error from Show Alpha",
                          "Sorry, alpha can only be shown after at least one calculation under a spectrum");
        return {};
    }
    const auto layers = static_cast<std::size_t>(mesh.nlayers);
    std::string out =
        ">When grading is present, the absorption alpha(position, wavelength)\n"
        ">is only shown at one position, this is the leftmost point of the layer\n";
    out += ">Problem definition file : " + run.problem_file.string() + '\n';
    out += ">Absorption characteristics calculated from file:";
    for (std::size_t j = 0; j < layers; ++j)
        out += (j > 0 ? "; " : " ") + set3.layer[j].name + ": " + absorption_source(set3.layer[j]);
    out += "\n>The alpha values from the alpha-file are interpolated at the wavelengths from spectrumfile: " +
           (run.wp.spectrumFromFile ? run.spectrum_file.string()
                                    : "none, model " + model_of_number(run.wp.spectrumModel.number).name) +
           "\n>lambda (nm)";
    for (std::size_t j = 0; j < layers; ++j) out += "\talpha of layer " + integer(static_cast<long>(j) + 1) + " (1/cm)";
    out += '\n';
    for (std::size_t k = 0; k < gp.lambda.size(); ++k) {
        out += fixed(gp.lambda[k], 14, 4);
        for (std::size_t j = 0; j < layers; ++j) {
            const int entry = absorption.of_point[static_cast<std::size_t>(mesh.first[j])];
            out += '\t' + scientific(0.01 * absorption.alpha[static_cast<std::size_t>(entry)][k], 13, 6);
        }
        out += '\n';
    }
    return out;
}

}  // namespace kovin
