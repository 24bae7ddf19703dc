#include "results/profile_files.h"

#include "device/on_mesh.h"
#include "results/columns.h"
#include "results/header.h"
#include "solver/occupation.h"

#include <algorithm>
#include <utility>

namespace kovin {

namespace {

constexpr NumberFormat index3{NumberFormat::whole, 3, 0};
constexpr NumberFormat position{NumberFormat::fixed_point, 14, 6};
constexpr NumberFormat energy{NumberFormat::fixed_point, 14, 8};
constexpr NumberFormat density{NumberFormat::with_exponent, 16, 8};

/// Without tunnelling its profiles are empty.
double or_zero(const std::vector<double>& values, std::size_t i) { return values.empty() ? 0.0 : values[i]; }

constexpr Column<Profiles> eb_columns[] = {
    {"   i", " ", index3, [](const Profiles&, std::size_t i) { return static_cast<double>(i); }},
    {"       x(um)", " ", position, [](const Profiles& s, std::size_t i) { return s.x_um[i]; }},
    {"        y", " ", energy, [](const Profiles& s, std::size_t i) { return s.y[i]; }},
    {"      Ec(eV)", " ", energy, [](const Profiles& s, std::size_t i) { return s.Ec[i]; }},
    {"      Fn(eV)", " ", energy, [](const Profiles& s, std::size_t i) { return s.Fn[i]; }},
    {"      Fp(eV)", " ", energy, [](const Profiles& s, std::size_t i) { return s.Fp[i]; }},
    {"      Ev(eV)", " ", energy, [](const Profiles& s, std::size_t i) { return s.Ev[i]; }},
    {"     n(/cm3)", " ", density, [](const Profiles& s, std::size_t i) { return s.n[i]; }},
    {"     p(/cm3)", " ", density, [](const Profiles& s, std::size_t i) { return s.p[i]; }},
    {"rho(defect) (/cm3)", " ", density, [](const Profiles& s, std::size_t i) { return s.rho_defect[i]; }},
    {"net doping (/cm3)", " ", density, [](const Profiles& s, std::size_t i) { return s.net_doping[i]; }},
    {"   rho(/cm3)", " ", density, [](const Profiles& s, std::size_t i) { return s.rho[i]; }},
    {"     E(V/cm)", " ", density, [](const Profiles& s, std::size_t i) { return s.E[i]; }},
    {"  jn(mA/cm2)", " ", density, [](const Profiles& s, std::size_t i) { return s.j.j_n[i]; }},
    {"  jp(mA/cm2)", " ", density, [](const Profiles& s, std::size_t i) { return s.j.j_p[i]; }},
    {"  jn_tunnel(mA/cm2)", " ", density, [](const Profiles& s, std::size_t i) { return or_zero(s.j.jn_tunnel, i); }},
    {"  jp_tunnel(mA/cm2)", " ", density, [](const Profiles& s, std::size_t i) { return or_zero(s.j.jp_tunnel, i); }},
    {"jtot(mA/cm2)", " ", density, [](const Profiles& s, std::size_t i) { return s.j.j_tot[i]; }},
    {" generation(#/cm3.s)", " ", density, [](const Profiles& s, std::size_t i) { return s.generation[i]; }},
    {"  recombination(#/cm3.s)", "  ", density, [](const Profiles& s, std::size_t i) { return s.recombination[i]; }},
    {"cumulative generation (mA/cm2)", " ", density,
     [](const Profiles& s, std::size_t i) { return s.cumulative_generation[i]; }},
    {"cumulative recombination L to R (mA/cm2)", "  ", density,
     [](const Profiles& s, std::size_t i) { return s.recombination_L_to_R[i]; }},
    {"cumulative recombination R to L (mA/cm2)", "  ", density,
     [](const Profiles& s, std::size_t i) { return s.recombination_R_to_L[i]; }},
};

// Electrons (jn) and holes (jp) that the states take from the left (1) and the right (2) layer, the thermionic current
// over the interface (js), and the charge of the states (pi).
template <double InterfaceCurrents::*quantity>
constexpr double of_interface(const Profiles& s, std::size_t k)
{
    return s.interfaces[k].*quantity;
}
double sheet_density(const Profiles& s, std::size_t k) { return s.interfaces[k].charge / elementary_charge; }

using IF = InterfaceCurrents;
constexpr Column<Profiles> interface_columns[] = {
    {"  IF",
     "   ",
     {NumberFormat::whole, 1, 0},
     [](const Profiles&, std::size_t k) { return static_cast<double>(k + 1); }},
    {"       x(um)", "  ", position, [](const Profiles& s, std::size_t k) { return s.x_um[s.interface_left[k]]; }},
    {" jn1(mA/cm2)", "  ", density, of_interface<&IF::n_left_direct>},
    {" jn2(mA/cm2)", "  ", density, of_interface<&IF::n_right_direct>},
    {" jp1(mA/cm2)", "  ", density, of_interface<&IF::p_left_direct>},
    {" jp2(mA/cm2)", "  ", density, of_interface<&IF::p_right_direct>},
    {" jn1[with tunnel](mA/cm2)", "  ", density, of_interface<&IF::n_left>},
    {" jn2[with tunnel](mA/cm2)", "  ", density, of_interface<&IF::n_right>},
    {" jp1[with tunnel](mA/cm2)", "  ", density, of_interface<&IF::p_left>},
    {" jp2[with tunnel](mA/cm2)", "  ", density, of_interface<&IF::p_right>},
    {"  js(mA/cm2)", "  ", density, of_interface<&IF::thermionic>},
    {"   pi(C/cm2)", "  ", density, of_interface<&IF::charge>},
    {"  pi/q(/cm2)", "  ", density, sheet_density},
};

std::string header(const ProfileSource& source, OutputKind kind)
{
    return WriteOutputHeader(source.version, source.run, kind, source.fromCurrent);
}

/// A table whose columns depend on the defects of the cell.
struct DefectColumn {
    std::string title;
    std::size_t first = 0;       ///< mesh point of the first value
    std::vector<double> values;  ///< at the points of one layer; nothing elsewhere
};

/// "layer,defect,level" of a transition: layer and defect from 1, level from 0.
std::string index_text(const DefectTransition& t)
{
    return integer(t.layer + 1) + ',' + integer(t.defect + 1) + ',' + integer(t.level);
}

/// Thermal capture and emission rates of each level of each defect, its energies added up; where any defect absorbs
/// light, the emission that it causes as well.
std::vector<DefectColumn> rate_columns(const ProfileSource& source)
{
    const CalculationVariables& cv = source.cv;
    const Scale& scale = source.problem.set3.scale;
    constexpr std::string_view all_titles[] = {"Rnth", "Rpth", "Gnth", "Gpth", "net Gn", "net Gp", "IPV Gn", "IPV Gp"};
    const std::vector<DefectTransition> transitions = defect_transitions(source.problem.defects, cv);
    const bool with_light = std::ranges::any_of(transitions, [](const auto& t) { return !t.gn.empty(); });
    const std::span<const std::string_view> titles = std::span(all_titles).first(with_light ? 8 : 6);
    std::vector<DefectColumn> columns;
    for (const DefectTransition& t : transitions) {
        if (t.energy_number == 0)
            for (const std::string_view title : titles)
                columns.push_back(
                    {std::string(title) + index_text(t) + " (#/cm3.s)", t.first, std::vector<double>(t.Nt.size())});
        DefectColumn* c = columns.data() + columns.size() - std::size(titles);
        const double per_cm3 = 1e-6 * scale.N0[static_cast<std::size_t>(t.layer)] / scale.t0;
        for (std::size_t k = 0; k < t.Nt.size(); ++k) {
            const std::size_t i = t.first + k;
            const double Nt = per_cm3 * t.Nt[k];
            const double Rn = Nt * t.cn[k] * cv.n[i] * t.een_min_f_t[k];
            const double Rp = Nt * t.cp[k] * cv.p[i] * t.f_t[k];
            const double Gn = Nt * t.en[k] * t.f_t[k];
            const double Gp = Nt * t.ep[k] * t.een_min_f_t[k];
            const double Ln = t.gn.empty() ? 0.0 : Nt * t.gn[k] * t.f_t[k];
            const double Lp = t.gp.empty() ? 0.0 : Nt * t.gp[k] * t.een_min_f_t[k];
            const double values[] = {Rn, Rp, Gn, Gp, Gn + Ln - Rn, Gp + Lp - Rp, Ln, Lp};
            for (std::size_t m = 0; m < titles.size(); ++m) c[m].values[k] += values[m];
        }
    }
    return columns;
}

/// Shares of the two configurations of each metastable pair, from the densities of its defects.
void add_metastable_columns(const ProfileSource& source, std::vector<DefectColumn>& columns)
{
    const CalculationParameters& set3 = source.problem.set3;
    const Mesh& mesh = source.cv.mesh;
    for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j)
        for (const MetaStableDefectParameters& pair : set3.layer[j].metastable) {
            if (!pair.present || pair.donor_defect < 0 || pair.acceptor_defect < 0) continue;
            const auto count = static_cast<std::size_t>(mesh.n_in_layer[j]);
            std::vector<double> acceptors(count), donors(count);
            const auto& defects = set3.layer[j].srh;
            Full_Nt_x_Dependence(set3, mesh, j, defects[static_cast<std::size_t>(pair.acceptor_defect)][0], 1.0,
                                 acceptors);
            Full_Nt_x_Dependence(set3, mesh, j, defects[static_cast<std::size_t>(pair.donor_defect)][0], 1.0, donors);
            for (std::size_t k = 0; k < count; ++k) {
                const double total = acceptors[k] + donors[k];
                for (double* share : {&acceptors[k], &donors[k]}) *share = total > 0.0 ? *share / total : 0.0;
            }
            const std::string where = integer(static_cast<long>(j) + 1) + ',' + integer(pair.number + 1);
            const auto first = static_cast<std::size_t>(mesh.first[j]);
            columns.push_back({"f_t(metastable acceptor config.)" + where, first, std::move(acceptors)});
            columns.push_back({"f_t(metastable donor config.)" + where, first, std::move(donors)});
        }
}

std::vector<DefectColumn> occupation_columns(std::vector<DefectTransition> transitions)
{
    std::vector<DefectColumn> columns;
    for (DefectTransition& t : transitions) {
        const std::string where =
            index_text(t) + ',' + integer(t.energy_number) + " {" + fixed(t.energy, 0, 4) + " eV}";
        columns.push_back({"f_t(electrons)" + where, t.first, std::move(t.f_t)});
        columns.push_back({"f_t(holes)" + where, t.first, std::move(t.een_min_f_t)});
    }
    return columns;
}

/// One line per level of a defect that is spread over energies: layer, defect, level; distribution; energies [eV].
std::string distributions_text(const ProfileSource& source, std::span<const DefectTransition> transitions)
{
    std::string text;
    for (const DefectTransition& t : transitions) {
        const auto layer = static_cast<std::size_t>(t.layer), defect = static_cast<std::size_t>(t.defect);
        const EnergyDistribution kind = source.problem.set3.layer[layer].srh[defect][0].energy_distribution;
        if (kind == EnergyDistribution::single) continue;
        if (t.energy_number == 0)
            text +=
                '\n' + index_text(t) + '\t' + std::string(energy_distribution_words[static_cast<std::size_t>(kind)]);
        text += '\t' + fixed(t.energy, 0, 4);
    }
    return text.empty() ? text
                        : "The energydistribution of the defects which are not single level are:" + text + "\n\n";
}

void append_titles(std::string& out, std::span<const DefectColumn> columns)
{
    for (const DefectColumn& column : columns) out += '\t' + column.title;
    out += '\n';
}

/// Values at mesh point i; outside the layer of its defect a column is 0.
void append_values(std::string& out, std::span<const DefectColumn> columns, std::size_t i)
{
    for (const DefectColumn& column : columns) {
        const bool inside = i >= column.first && i - column.first < column.values.size();
        out += '\t' + formatted(density, inside ? column.values[i - column.first] : 0.0);
    }
    out += '\n';
}

}  // namespace

std::string eb_naar_file(const ProfileSource& source, const Profiles& profiles)
{
    std::string out = header(source, OutputKind::energy_bands);
    out += "bulk\n";
    write_table<Profiles>(out, eb_columns, profiles, profiles.x_um.size());
    if (!profiles.interface_left.empty()) {
        out += "\ninterfaces\n";
        write_table<Profiles>(out, interface_columns, profiles, profiles.interface_left.size());
    }
    return out;
}

std::string gen_naar_file(const ProfileSource& source, const Profiles& profiles)
{
    std::string out = header(source, OutputKind::generation);
    const std::vector<DefectColumn> defects = rate_columns(source);
    if (!defects.empty())
        out +=
            "Legend:\n=======\n"
            "All following properties are split up per layer, per defect in this layer and per charge state in "
            "this defect\n"
            "(first index = layer, second index = mechanism, third index = defectlevel (0 is the most positively "
            "charged and hence the closest to the valence band))\n\n";
    out +=
        "x (um)\tGeneration profile G(x) (#/m3.s)\tGeh (#/cm3.s)\tTotal recombination (#/cm3.s)"
        "\tSRH recombination (#/cm3.s)\tRadiative recombination (#/cm3.s)\tAuger recombination (#/cm3.s)";
    append_titles(out, defects);
    for (std::size_t i = 0; i < profiles.x_um.size(); ++i) {
        out += formatted(position, profiles.x_um[i]) + '\t' + formatted(density, 1e6 * profiles.generation[i]);
        for (const auto* column :
             {&profiles.generation, &profiles.recombination, &profiles.SRH, &profiles.radiative, &profiles.auger})
            out += '\t' + formatted(density, (*column)[i]);
        append_values(out, defects, i);
    }
    return out;
}

std::string ft_naar_file(const ProfileSource& source, const Profiles& profiles)
{
    std::string out = header(source, OutputKind::occupation);
    std::vector<DefectTransition> transitions = defect_transitions(source.problem.defects, source.cv);
    const std::string distributions = distributions_text(source, transitions);
    std::vector<DefectColumn> columns = occupation_columns(std::move(transitions));
    add_metastable_columns(source, columns);
    out +=
        "Legend:\n=======\n"
        "All following properties are split up per layer and per defect in this layer, per charge state transition "
        "in this defect and per energy if there is an energydistribution\n\n";
    out += distributions;
    out += "x (um)";
    append_titles(out, columns);
    for (std::size_t i = 0; i < profiles.x_um.size(); ++i) {
        out += formatted(position, profiles.x_um[i]);
        append_values(out, columns, i);
    }
    return out;
}

}  // namespace kovin
