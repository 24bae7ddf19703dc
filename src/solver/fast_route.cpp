#include "solver/fast_route.h"

#include "base/text_format.h"
#include "solver/bulk_terms.h"
#include "solver/currents.h"
#include "solver/estimates.h"
#include "solver/fast_current.h"
#include "solver/fast_transient.h"
#include "solver/outer_iteration.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

constexpr int most_halvings = 5;
constexpr int easy_solve = 6;  ///< after so few steps the voltage may go faster again

/// One change of bias or light under way.
class Climb {
public:
    Climb(const Problem& p, Workspace& w, CalculationVariables& v)
        : problem(p),
          workspace(w),
          work(w.fast),
          cv(v),
          arrays(w.fast.arrays(p, v)),
          full_light{.tolerance = w.fast.tolerance},
          careful_limits{.tolerance = w.fast.tolerance, .psi_limit = 5.0, .steps = 60}
    {
    }

    bool light()
    {
        work.last.known = work.before.known = false;
        const double V = cv.V;
        work.failure = {.V = V};
        keep();
        if (tries(FastRung::newton) && newton(full_light)) return done();
        if (tries(FastRung::steps) && !stopped && ramp(full_light)) return done();
        if (tries(FastRung::transient) && !stopped && transient(V)) return done();
        if (tries(FastRung::careful) && !stopped && (newton(careful_limits) || ramp(careful_limits))) return done();
        if (tries(FastRung::classic) && !stopped && classic(V)) return done();
        return give_up();
    }

    bool again()
    {
        work.failure = {.V = cv.V};
        keep();
        if (tries(FastRung::newton) && newton(full_light)) return done();
        return !stopped && light();
    }

    bool voltage(double V)
    {
        take_up_history();
        work.failure = {.V = V};
        const bool direct = tries(FastRung::newton) || tries(FastRung::steps);
        if (direct && steps_to(V, full_light)) return done();
        if (tries(FastRung::transient) && !stopped && transient(V)) return done();
        if (tries(FastRung::careful) && !stopped && steps_to(V, careful_limits)) return done();
        if (tries(FastRung::classic) && !stopped && classic(V)) return done();
        return give_up();
    }

private:
    [[nodiscard]] bool tries(FastRung rung) const { return (work.left_out >> static_cast<unsigned>(rung) & 1U) == 0; }

    void keep()
    {
        work.psi_good = cv.psi;
        work.Fn_good = cv.Fn;
        work.Fp_good = cv.Fp;
        V_good = cv.V;
    }
    void restore()
    {
        cv.psi = work.psi_good;
        cv.Fn = work.Fn_good;
        cv.Fp = work.Fp_good;
        set_voltage(V_good);
    }
    void set_voltage(double V)
    {
        cv.V = V;
        cv.V_kT = V / problem.set3.kT;
    }

    /// Solves at the present bias; a failure restores the last good state.
    bool newton(const FastLimits& limits)
    {
        const FastSolve solve = fast_newton(problem, *work.kernel, arrays, cv, limits);
        return judge(solve);
    }
    bool judge(const FastSolve& solve)
    {
        steps += solve.steps;
        last_steps = solve.steps;
        stopped = solve.outcome == FastOutcome::stopped;
        if (!solve.good()) {
            if (size_of(solve.last) > 0.0) failed_solve = solve;
            restore();
            return false;
        }
        noise_limited = solve.outcome == FastOutcome::noise_limited;
        last_step = solve.last;
        keep();
        return true;
    }

    /// Light in powers of ten, first so weak that it hardly matters. Where it ends, the rungs that follow go on.
    bool ramp(const FastLimits& limits)
    {
        constexpr double weakest = 1e-60, least_exponent = 1e-3;
        const std::vector<double>& full = problem.G;
        if (std::all_of(full.begin(), full.end(), [](double g) { return g == 0.0; })) return false;
        const auto solve = [&](double part) {
            for (std::size_t i = 0; i < full.size(); ++i) work.G[i] = part * full[i];
            arrays.G = work.G.data();
            const bool good = newton(limits);
            arrays.G = full.data();
            return good;
        };
        double part = 1e-12, exponent = 6.0;
        while (!solve(part)) {
            part *= 1e-3;
            if (stopped || part < weakest) return false;
        }
        while (part < 1.0) {
            const double next = std::min(1.0, part * std::pow(10.0, exponent));
            if (solve(next)) {
                part = next;
                if (last_steps < 8) exponent *= 1.5;
            } else {
                exponent *= 0.5;
                if (stopped || exponent < least_exponent) return false;
            }
        }
        return true;
    }

    /// psi and the levels where the last two solutions point; without them the change goes to the contact alone.
    void predict(double V)
    {
        const std::size_t N = cv.psi.size();
        const double kT = problem.set3.kT;
        const FastHistory &one = work.last, &two = work.before;
        const double ratio = two.known && one.V != two.V ? (V - one.V) / (one.V - two.V) : 0.0;
        constexpr double longest = 4.0;
        if (two.known && std::fabs(ratio) <= longest && ratio != 0.0) {
            for (std::size_t i = 0; i < N; ++i) {
                cv.psi[i] = one.psi[i] + ratio * (one.psi[i] - two.psi[i]);
                cv.Fn[i] = one.Fn[i] + ratio * (one.Fn[i] - two.Fn[i]);
                cv.Fp[i] = one.Fp[i] + ratio * (one.Fp[i] - two.Fp[i]);
            }
        } else {
            const double shift = (V - cv.V) / kT;
            cv.Fn[N - 1] += shift;
            cv.Fp[N - 1] += shift;
        }
        contact(V);
    }
    void contact(double V)
    {
        cv.psi.back() = (problem.set3.phi_left - problem.set3.phi_right - V) / problem.set3.kT;
        set_voltage(V);
    }

    /// The history goes on from the present state, if it is the one that was left.
    void take_up_history()
    {
        FastHistory& one = work.last;
        const bool same = one.known && one.V == cv.V && one.psi == cv.psi && one.Fn == cv.Fn && one.Fp == cv.Fp;
        if (!same) {
            work.before.known = false;
            remember(one);
        }
        keep();
    }
    void remember(FastHistory& into) const
    {
        into.psi = cv.psi;
        into.Fn = cv.Fn;
        into.Fp = cv.Fp;
        into.V = cv.V;
        into.known = true;
    }
    void push_history()
    {
        std::swap(work.last, work.before);
        remember(work.last);
    }

    /// Walks from the present voltage to V in steps that halve where they fail.
    bool steps_to(double V, const FastLimits& limits)
    {
        double step = V - cv.V;
        const int allowed = tries(FastRung::steps) ? most_halvings : 0;
        if (!tries(FastRung::newton) && allowed > 0) step *= 0.5;
        for (int halvings = 0; cv.V != V;) {
            const double left = V - cv.V;
            const double target = std::fabs(left) <= std::fabs(step) * (1.0 + 1e-9) ? V : cv.V + step;
            predict(target);
            if (newton(limits)) {
                push_history();
                if (halvings > 0 && last_steps <= easy_solve) {
                    step *= 2.0;
                    --halvings;
                }
            } else {
                if (stopped || halvings == allowed) return false;
                step *= 0.5;
                ++halvings;
            }
        }
        return true;
    }

    bool transient(double V)
    {
        tell("slow convergence at V = " + shown(V) + " V, following the transient");
        if (V != cv.V) {
            work.before.known = false;
            predict(V);
        }
        const FastSolve solve = fast_transient(problem, work, arrays, cv);
        return judge(solve);
    }

    [[nodiscard]] std::string shown(double V) const { return fixed(V * problem.voltage_sign + 0.0, 0, 3); }
    void tell(const std::string& text) const
    {
        if (problem.monitor != nullptr) problem.monitor->post({.status = 1, .text = text});
    }

    /// The decoupled iteration on the mesh as it is.
    bool classic(double V)
    {
        tell("V = " + shown(V) + " V: the classic route takes over");
        CalculationParameters set3 = problem.set3;
        set3.convergence.route = Route::classic;
        set3.convergence.coupling_scheme = decoupled;
        set_terminations(set3.convergence, 1e-6);
        const Problem decoupled_problem{set3,      problem.grid,    problem.defects, problem.interface_states,
                                        problem.G, problem.monitor, nullptr};
        update_psivar(set3, cv);
        update_Fn(cv);
        update_Fp(cv);
        cv.iterations = 0;
        const bool good = V == cv.V ? dc_Gummel_iteration_all(decoupled_problem, workspace, cv)
                                    : volgende_iv_punt(decoupled_problem, workspace, cv, cv.V, V, 2);
        if (!good) {
            restore();
            return false;
        }
        noise_limited = false;
        last_step = {};
        keep();
        return true;
    }

    /// Tells what would not settle. The state is the last good one, marked as failed.
    bool give_up()
    {
        const FastStep& step = failed_solve.last;
        FastFailure& failure = work.failure;
        failure.known = size_of(step) > 0.0;
        failure.quantity = FastFailure::psi;
        std::size_t where = step.psi_at;
        if (step.ln_n > step.psi && step.ln_n >= step.ln_p) {
            failure.quantity = FastFailure::electrons;
            where = step.n_at;
        } else if (step.ln_p > step.psi) {
            failure.quantity = FastFailure::holes;
            where = step.p_at;
        }
        failure.layer = 0;
        while (failure.layer + 1 < arrays.layers && arrays.layer[failure.layer].last < where) ++failure.layer;
        cv.iterations = -1;
        return false;
    }

    bool done()
    {
        if (!fast_complete_state(problem, workspace, cv) && !noise_limited) {
            // One step more, where the current hangs on differences that the last one has not brought to rest. If it
            // fails, the state is the one before.
            if (!newton(full_light) && stopped) return give_up();
            fast_complete_state(problem, workspace, cv);
        }
        if (!std::isfinite(cv.J_median)) return give_up();
        if (!work.last.known || work.last.V != cv.V) work.before.known = false;
        remember(work.last);
        const double t = size_of(last_step);
        cv.J_error = std::max(cv.J_error, t * t * std::fabs(cv.J_median));
        cv.iterations = steps;
        cv.noise_limited = noise_limited;
        cv.max_delta_psi = last_step.psi;
        cv.max_delta_Fn = last_step.ln_n;
        cv.max_delta_Fp = last_step.ln_p;
        return true;
    }

    const Problem& problem;
    Workspace& workspace;
    FastWork& work;
    CalculationVariables& cv;
    FastArrays arrays;
    FastLimits full_light, careful_limits;
    double V_good = 0.0;
    int steps = 0, last_steps = 0;
    bool noise_limited = false, stopped = false;
    FastStep last_step;
    FastSolve failed_solve;
};

}  // namespace

bool fast_complete_state(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    update_psivar(problem.set3, cv);
    update_Fn(cv);
    update_Fp(cv);
    const FastArrays arrays = work.fast.arrays(problem, cv);
    fast_physics(problem, *work.fast.kernel, arrays);
    // exp(psi) exp(Fn) overflows beyond some 700 kT of bias, the sum of the logarithms does not.
    std::copy_n(arrays.n, arrays.N, cv.n.begin());
    std::copy_n(arrays.p, arrays.N, cv.p.begin());
    std::copy_n(arrays.P, arrays.N, cv.P.begin());
    totale_rdcbijdrage(problem, cv);
    // There the slopes to u and v are lost with u and v, the currents are not.
    const auto lost = [](const InterfaceTerms& s) {
        return !std::isfinite(s.In_left + s.In_right + s.Ip_left + s.Ip_right + s.rho_if);
    };
    if (std::ranges::any_of(cv.terms_interface, lost)) fast_interface_states(problem, arrays, cv);
    extraheer_stroom(problem, cv, work.currents);
    return fast_current(problem, arrays, work.fast, cv);
}

bool fast_onder_belichting(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    return Climb(problem, work, cv).light();
}

bool fast_settle(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    return Climb(problem, work, cv).again();
}

bool fast_naar_spanning(const Problem& problem, Workspace& work, CalculationVariables& cv, double V)
{
    return Climb(problem, work, cv).voltage(V);
}

}  // namespace kovin
