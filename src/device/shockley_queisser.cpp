#include "device/shockley_queisser.h"

#include <algorithm>
#include <iterator>

namespace kovin {

double shockley_queisser_K_rad(double Eg, double Nc, double Nv, double d, double T)
{
    // 8 pi c (kT/hc)^3 (Eg/kT)^2 / (Nc Nv d): the black body's photon flux above the gap over ni^2 and the thickness.
    // The number holds pi c in m/s with the powers of ten that cm^-3 and um bring; hc in eV nm.
    constexpr double prefactor = 188495559215.38757;
    const double kT = T * kT_at_300K / 300.0;
    const double x = Eg / kT;
    const double k = kT / hc_eV_nm / 1e-7;
    const double t = T / 300.0;
    return x * x * (k * k * k) * prefactor / Nc / Nv / (t * t * t) / d / 0.0001;
}

bool limit_follows_mesh(const MaterialParameters& m)
{
    const auto by_place = [](const Profile* p) {
        const bool rows = p->law == Law::from_file || p->law == Law::table;
        return p->dependence == Dependence::on_x || (rows && p->dependence == Dependence::on_y);
    };
    const Profile* const needed[] = {&m.K_rad, &m.Eg, &m.Nc, &m.Nv};
    return std::any_of(std::begin(needed), std::end(needed), by_place);
}

void CheckShockleyQueisserLimitForBandToBandRecombination(UserCell& cell, double T, int mode)
{
    if (mode == 0) return;
    CellParameters& c = cell.cell;
    for (std::size_t i = 0; i < static_cast<std::size_t>(c.layers); ++i) {
        MaterialParameters& m = c.layer[i].material;
        if (limit_follows_mesh(m)) continue;
        const auto raise = [&](double Profile::*pure) {
            const double limit = shockley_queisser_K_rad(m.Eg.*pure, m.Nc.*pure, m.Nv.*pure, m.d, T);
            double& K = m.K_rad.*pure;
            K = limited_K_rad(K, limit, mode);
        };
        raise(&Profile::pure_A);
        if (c.layer[i].composition_mode != 0) raise(&Profile::pure_B);
    }
}

}  // namespace kovin
