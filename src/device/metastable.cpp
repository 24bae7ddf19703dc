#include "device/metastable.h"

#include "base/text_format.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

namespace kovin {

namespace {

using E = ActivationEnergy;

/// What follows by the codes 0 to 7.
constexpr E followers[][2] = {{E::EE, E::HE}, {E::EE, E::HC}, {E::EC, E::HE}, {E::EC, E::HC},
                              {E::TR, E::HE}, {E::TR, E::HC}, {E::TR, E::EE}, {E::TR, E::EC}};

void set_transition_energy(MetaStableDefectParameters& pair, double Et, double Eg)
{
    switch (pair.reference) {
        case EnergyReference::above_EV:
            pair.Eact_TR = Et;
            break;
        case EnergyReference::below_EC:
            pair.Eact_TR = Eg - Et;
            break;
        default:
            pair.Eact_TR = Et - 0.5 * Eg;
    }
}

/// EC - EE, or with `holes` HE - HC, of a transition energy.
double difference(double Et, double Eg, int side, bool holes)
{
    if (side != 0) return 2.0 * Et - Eg;
    return holes ? 2.0 * Et : 2.0 * (Et - Eg);
}

double MetaStableDefectParameters::*field(E which)
{
    using P = MetaStableDefectParameters;
    constexpr double P::*fields[] = {&P::Eact_TR, &P::Eact_EC, &P::Eact_EE, &P::Eact_HC, &P::Eact_HE};
    return fields[static_cast<std::size_t>(which)];
}

/// ln(exp(a) + exp(b)); -infinity stands for nothing.
double log_of_sum(double a, double b)
{
    const double high = std::max(a, b);
    return std::isinf(high) ? high : high + std::log1p(std::exp(std::min(a, b) - high));
}

/// Beyond it a process never happens, and the difference of two such barriers has lost its digits [eV].
constexpr double highest_barrier = 1000.0;

/// Does a process happen at all? @param rate  its cross section or frequency; 0 closes it
bool is_open(double rate, double to, double back) { return rate > 0.0 && std::max(to, back) <= highest_barrier; }

std::string pair_name(const MetaStableDefectParameters& pair)
{
    return "metastable transition " + integer(pair.number + 1);
}

std::string charge_text(int charge_type)
{
    const bool known = charge_type >= 0 && charge_type < static_cast<int>(std::size(chargeTypeStrings));
    return known ? std::string(chargeTypeStrings[charge_type]) : integer(charge_of_type(charge_type));
}

/// One of the two defects of a pair.
struct Configuration {
    const char *key, *name;
    int defect, charge_type;
};
std::array<Configuration, 2> configurations(const MetaStableDefectParameters& pair)
{
    return {{{"DonorDefect", "donor configuration", pair.donor_defect, pair.donor_charge_state},
             {"AcceptorDefect", "acceptor configuration", pair.acceptor_defect, pair.donor_charge_state - 2}}};
}

/// "; the donor could react as 4 (+)", nothing where one of the defects is not there.
std::string states_that_fit(const LayerParameters& layer, const MetaStableDefectParameters& pair)
{
    const auto there = [&](int defect) { return defect >= 0 && defect < layer.srhteller; };
    if (!there(pair.donor_defect) || !there(pair.acceptor_defect)) return {};
    std::string text;
    for (const int type : fill_meta_chargestates(layer.srh[static_cast<std::size_t>(pair.donor_defect)],
                                                 layer.srh[static_cast<std::size_t>(pair.acceptor_defect)]))
        text += (text.empty() ? "; the donor could react as " : ", ") + integer(type) + " (" + charge_text(type) + ')';
    return text.empty() ? "; no charge fits both defects" : text;
}

/// A configuration against the defects of its layer; without a text if it can react.
PairFinding fault_of(const LayerParameters& layer, const MetaStableDefectParameters& pair, const Configuration& c)
{
    const auto fault = [&](const char* key, const std::string& text) {
        return PairFinding{pair.number, key, pair_name(pair) + ": " + text};
    };
    if (c.defect < 0 || c.defect >= layer.srhteller)
        return fault(c.key, std::string("no defect stands for its ") + c.name);
    const DefectLevels& levels = layer.srh[static_cast<std::size_t>(c.defect)];
    const std::string its = std::string("its ") + c.name + ", defect " + integer(c.defect + 1) + ",";
    if (level_without_capture(levels) >= 0) return fault(c.key, its + " has a level that captures neither carrier");
    if (GetDefectStateFromChargeType(levels, c.charge_type) >= 0) return {};
    return fault("Donor charge state",
                 its + " has no state of charge " + charge_text(c.charge_type) + states_that_fit(layer, pair));
}

}  // namespace

DerivedEnergies interpretEactgiven(int code)
{
    DerivedEnergies flags{};
    const bool known = code >= 0 && code < static_cast<int>(std::size(followers));
    for (const E energy : followers[known ? code : 0]) flags[static_cast<std::size_t>(energy)] = true;
    return flags;
}

int interpretEactgiven(const DerivedEnergies& flags)
{
    for (int code = 1; code < static_cast<int>(std::size(followers)); ++code)
        if (interpretEactgiven(code) == flags) return code;
    return 0;
}

double transition_energy(const MetaStableDefectParameters& pair, double Eg)
{
    switch (pair.reference) {
        case EnergyReference::above_EV:
            return pair.Eact_TR;
        case EnergyReference::below_EC:
            return Eg - pair.Eact_TR;
        default:
            return pair.Eact_TR + 0.5 * Eg;
    }
}

void RecalculateActivationEnergy(MetaStableDefectParameters& pair, int side, ActivationEnergy which,
                                 bool from_electrons, double Eg)
{
    const double Et = transition_energy(pair, Eg);
    switch (which) {
        case E::TR: {
            const double d = from_electrons ? pair.Eact_EC - pair.Eact_EE : pair.Eact_HE - pair.Eact_HC;
            const double at_zero = difference(0.0, Eg, side, !from_electrons);
            set_transition_energy(pair, 0.5 * (d - at_zero), Eg);
            break;
        }
        case E::EC:
            pair.Eact_EC = pair.Eact_EE + difference(Et, Eg, side, false);
            break;
        case E::EE:
            pair.Eact_EE = pair.Eact_EC - difference(Et, Eg, side, false);
            break;
        case E::HC:
            pair.Eact_HC = pair.Eact_HE - difference(Et, Eg, side, true);
            break;
        case E::HE:
            pair.Eact_HE = pair.Eact_HC + difference(Et, Eg, side, true);
            break;
    }
}

void UpdateActivationEnergies(MetaStableDefectParameters& pair, double Eg)
{
    const auto [first, second] = followers[interpretEactgiven(pair.derived_energy)];
    const auto of_holes = [](E energy) { return energy == E::HC || energy == E::HE; };
    const auto side = [&](bool holes) { return holes ? pair.hole_process : pair.electron_process; };
    // The transition energy comes from the two barriers that are both given: not those of the one that follows.
    const bool holes = first == E::TR ? !of_holes(second) : of_holes(first);
    RecalculateActivationEnergy(pair, side(holes), first, !holes, Eg);
    RecalculateActivationEnergy(pair, side(of_holes(second)), second, false, Eg);
}

int GetDefectStateFromChargeType(const DefectLevels& levels, int charge_type)
{
    if (levels[0].aard == LevelType::neutral) return -1;
    const int state = static_cast<int>(charge_of_state_0(levels[0].aard)) - charge_of_type(charge_type);
    return state >= 0 && state <= level_count(levels) ? state : -1;
}

std::vector<int> fill_meta_chargestates(const DefectLevels& donor, const DefectLevels& acceptor)
{
    std::vector<int> types;
    for (int type = 0; type < static_cast<int>(std::size(chargeTypeStrings)); ++type)
        if (GetDefectStateFromChargeType(donor, type) >= 0 && GetDefectStateFromChargeType(acceptor, type - 2) >= 0)
            types.push_back(type);
    return types;
}

void SynchroniseMetaCaptureCrossSectionsWithDefectCaptureCrossSections(MetaStableDefectParameters& pair,
                                                                       const LayerParameters& layer)
{
    const auto take = [&](int defect, int charge_type, double& sigma_n, double& sigma_p) {
        if (defect < 0 || defect >= layer.srhteller) return;
        const DefectLevels& levels = layer.srh[static_cast<std::size_t>(defect)];
        const int state = GetDefectStateFromChargeType(levels, charge_type);
        if (state < 0) return;
        // An electron is caught by the level above the state, a hole by the one below; at an end of the chain the only
        // neighbour counts for both.
        const int last = level_count(levels) - 1;
        sigma_n = levels[static_cast<std::size_t>(std::min(state, last))].sigma_n;
        sigma_p = levels[static_cast<std::size_t>(std::max(state - 1, 0))].sigma_p;
    };
    take(pair.donor_defect, pair.donor_charge_state, pair.sigma_don_n, pair.sigma_don_p);
    take(pair.acceptor_defect, pair.donor_charge_state - 2, pair.sigma_acc_n, pair.sigma_acc_p);
}

std::vector<PairFinding> metastable_faults(const LayerParameters& layer)
{
    std::vector<PairFinding> faults;
    std::array<int, max_defects> parts{};
    for (const MetaStableDefectParameters& pair : layer.metastable) {
        if (!pair.present) continue;
        for (const Configuration& c : configurations(pair))
            if (PairFinding fault = fault_of(layer, pair, c); !fault.text.empty()) faults.push_back(std::move(fault));
        for (const Configuration& c : configurations(pair))
            if (c.defect >= 0 && c.defect < max_defects && ++parts[static_cast<std::size_t>(c.defect)] == 2)
                faults.push_back(
                    {pair.number, c.key, pair_name(pair) + ": defect " + integer(c.defect + 1) + " takes part twice"});
    }
    return faults;
}

std::vector<PairFinding> metastable_remarks(const LayerParameters& layer)
{
    constexpr double rounding = 1e-3;  // files write energies with three digits [eV]
    const double Eg = layer.material.Eg.left;
    std::vector<PairFinding> remarks;
    for (const MetaStableDefectParameters& pair : layer.metastable) {
        if (!pair.present) continue;
        const auto tell = [&](const char* key, const std::string& what) {
            remarks.push_back({pair.number, key, pair_name(pair) + ": " + what});
        };
        if (interpretEactgiven(interpretEactgiven(pair.derived_energy)) != pair.derived_energy)
            tell("UserDefined Activation Energies",
                 "the flags must leave three activation energies of which the other two follow; Eact_EE and Eact_HE "
                 "are taken to follow");
        const std::pair<const char*, int> processes[] = {{"Electron process", pair.electron_process},
                                                         {"Hole process", pair.hole_process}};
        for (const auto& [key, process] : processes)
            if (process != 0 && process != 1)
                tell(key, std::string(key) + ' ' + integer(process) + " is none; it counts as 1");
        MetaStableDefectParameters used = pair;
        UpdateActivationEnergies(used, Eg);
        const auto rate = [&](int process, double sigma) { return process == 0 ? pair.phonon_frequency : sigma; };
        const double electrons = rate(pair.electron_process, pair.sigma_don_n);
        if (!is_open(electrons, used.Eact_EC, used.Eact_EE) &&
            !is_open(rate(pair.hole_process, pair.sigma_acc_p), used.Eact_HC, used.Eact_HE))
            tell(electrons > 0.0 ? "Eact_EC" : "sigma_don_n",
                 "no process is open, with a cross section of 0 or a barrier above " + plain(highest_barrier, 0) +
                     " eV: it keeps its initial configuration");
        for (const E which : {E::TR, E::EC, E::EE, E::HC, E::HE}) {
            const char* key = activation_energy_words[static_cast<std::size_t>(which)];
            const std::string name = key;
            const double stored = pair.*field(which), value = used.*field(which);
            if (std::abs(value - stored) > rounding)
                tell(key, name + " follows from the others as " + plain(value, 3) + " eV, not " + plain(stored, 3));
            if (which != E::TR && value < -rounding)
                tell(key, "the barrier " + name + " of " + plain(value, 3) + " eV is negative");
        }
    }
    return remarks;
}

std::string pair_text(const LayerParameters& layer, const MetaStableDefectParameters& pair)
{
    std::string text = pair_name(pair) + ":";
    for (const Configuration& c : configurations(pair))
        text += std::string(" ") + c.name + " defect " + integer(c.defect + 1) + " in state " +
                charge_text(c.charge_type) + ',';
    const auto process = [&](const char* carriers, int flag, double sigma_cm2) {
        text += std::string(" ") + carriers +
                (flag == 0 ? "two at a time, " + scientific(pair.phonon_frequency, 0, 1) + " Hz,"
                           : "one for one of the other kind, " + scientific(sigma_cm2, 0, 1) + " cm2,");
    };
    process("electrons ", pair.electron_process, pair.sigma_don_n);
    process("holes ", pair.hole_process, pair.sigma_acc_p);
    MetaStableDefectParameters used = pair;
    UpdateActivationEnergies(used, layer.material.Eg.left);
    const DerivedEnergies follows = interpretEactgiven(interpretEactgiven(pair.derived_energy));
    for (const E which : {E::TR, E::EC, E::EE, E::HC, E::HE}) {
        const auto k = static_cast<std::size_t>(which);
        text += std::string(" ") + activation_energy_words[k] + ' ' + plain(used.*field(which), 3) + " eV" +
                (follows[k] ? " (follows)" : "") + (which == E::HE ? "" : ",");
    }
    return text;
}

double metastable_balance(const MetaStableDefectParameters& pair, const MetaPlace& place)
{
    constexpr double nothing = -std::numeric_limits<double>::infinity();
    const auto ln_rate = [](double k, double to, double back) { return is_open(k, to, back) ? std::log(k) : nothing; };
    const double ln_n = std::log(place.n_over_Nc), ln_p = std::log(place.p_over_Nv);
    const double k_n = ln_rate(place.k_electrons, pair.Eact_EC, pair.Eact_EE);
    const double k_p = ln_rate(place.k_holes, pair.Eact_HC, pair.Eact_HE);
    const bool two_electrons = pair.electron_process == 0, two_holes = pair.hole_process == 0;
    const auto way = [&](double ln_k, double ln_carriers, double barrier) {
        return ln_k + ln_carriers - barrier / place.kT;
    };
    const double to_acceptor = log_of_sum(way(k_n, two_electrons ? 2.0 * ln_n : ln_n, pair.Eact_EC),
                                          way(k_p, two_holes ? 0.0 : ln_n, pair.Eact_HE));
    const double to_donor = log_of_sum(way(k_p, two_holes ? 2.0 * ln_p : ln_p, pair.Eact_HC),
                                       way(k_n, two_electrons ? 0.0 : ln_p, pair.Eact_EE));
    const double ln_R1 = to_acceptor + std::log(place.donor_share);
    const double ln_R2 = to_donor + std::log(place.acceptor_share);
    if (ln_R1 == nothing && ln_R2 == nothing) return std::numeric_limits<double>::quiet_NaN();
    return ln_R1 - ln_R2;
}

}  // namespace kovin
