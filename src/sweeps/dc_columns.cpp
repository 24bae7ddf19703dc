#include "sweeps/dc_columns.h"

#include "device/boxes.h"
#include "sweeps/outer_circuit.h"

#include <algorithm>
#include <numeric>

namespace kovin {

void add_dc_point(const Simulation& s, const Problem& problem, double v_cell, RecombinationProfile& recombination,
                  IvCurve& curve)
{
    const CalculationVariables& cv = s.currentCalcVars;
    const ContactCurrents contact = contact_currents(problem, cv);
    const TerminalPoint seen = at_terminals(v_cell, cv.J_median, outer_circuit(s.wp));
    curve.iv_as.push_back(seen.V);
    curve.ivcurrent.push_back(seen.J);
    curve.J_error.push_back(cv.J_error);
    curve.J_noise.push_back(cv.J_noise);
    curve.noise_limited.push_back(cv.noise_limited ? 1.0 : 0.0);

    // The minority carrier that reaches a contact recombines there.
    const CellParameters& cell = s.problem.input.cell.cell;
    const bool n_left = cell.left.majority_type == -1, p_right = cell.right.majority_type == 1;
    curve.left_contact_label =
        n_left ? "At left contact (minority carrier = p)" : "At left contact (minority carrier = n)";
    curve.right_contact_label =
        p_right ? "At right contact (minority carrier = n)" : "At right contact (minority carrier = p)";
    curve.ivleftcontact.push_back(n_left ? -contact.j_p_left : contact.j_n_left);
    curve.ivrightcontact.push_back(p_right ? -contact.j_n_right : contact.j_p_right);

    extract_recombination(problem, cv, recombination);
    const auto bulk = [&](const std::vector<double>& rate) {
        return 10.0 * integrated_current(s.set3, cv.mesh, rate);  // mA/cm2 -> A/m2
    };
    curve.ivbulk.push_back(bulk(recombination.total));
    curve.recSRH.push_back(bulk(recombination.SRH));
    curve.recRadiative.push_back(bulk(recombination.radiative));
    curve.recAuger.push_back(bulk(recombination.auger));
    curve.ivifr.push_back(10.0 * interface_recombination(problem, cv));
    curve.TotalRec.push_back(curve.ivleftcontact.back() + curve.ivrightcontact.back() +
                             0.1 * (curve.ivifr.back() + curve.ivbulk.back()));
    curve.TotalGen.push_back(s.light.total_mA_cm2);
}

std::vector<std::size_t> rising_voltage(const IvCurve& curve)
{
    std::vector<std::size_t> order(curve.points());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return curve.iv_as[a] < curve.iv_as[b]; });
    return order;
}

void reorder(std::vector<double>& column, const std::vector<std::size_t>& order)
{
    std::vector<double> sorted;
    sorted.reserve(order.size());
    for (const std::size_t i : order) sorted.push_back(column[i]);
    column = std::move(sorted);
}

void to_user_sign(IvCurve& curve, const Polarity& polarity)
{
    for (double& V : curve.iv_as) V = polarity.V * V + 0.0;  // the sum turns -0 into 0
    for (double& J : curve.ivcurrent) J = polarity.J * J + 0.0;
}

void extract_characteristics(const Simulation& s, const IvCurve& curve, IVCharacteristics& record)
{
    IvCurve internal;
    internal.iv_as = curve.iv_as;
    internal.ivcurrent = curve.ivcurrent;
    to_user_sign(internal, s.polarity);  // the sign is its own inverse
    const WorkPoint& wp = s.wp;
    IVParameters(internal.iv_as, internal.ivcurrent,
                 {.dark = wp.dark,
                  .generationSpecified = wp.generationSpecified,
                  .Pin = wp.generationSpecified ? 1000.0 : wp.incidentPower,
                  .attenuation = wp.attenuation,
                  .idealCurrent = wp.idealCurrent},
                 record);
}

}  // namespace kovin
