#include "solver/state.h"

namespace kovin {

void CalculationVariables::resize()
{
    const auto n_points = static_cast<std::size_t>(mesh.N);
    for (auto* a : {&psi, &Fn, &Fp, &epsi, &empsi, &bn, &bp, &expFn, &expmFp, &n, &p, &du, &dv, &P, &Bn_plus, &Bn_min,
                    &Bp_plus, &Bp_min})
        a->assign(n_points, 0.0);
    terms_total.resize(n_points);
    jn_tunnel.clear();
    jp_tunnel.clear();
    contact_tunnel = {};
    tunnel_states.clear();
}

}  // namespace kovin
