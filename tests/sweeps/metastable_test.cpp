#include "device/metastable.h"
#include "device/charge_states.h"
#include "device/definition_writer.h"
#include "device/on_mesh.h"
#include "results/profile_files.h"
#include "sweeps/shipped_run.h"
#include "sweeps/starting_point.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace kovin {
namespace {

/// The metastable sample; its pairs settle in the dark at 0 V unless a test says otherwise.
struct MetaRun : ShippedRun {
    MetaRun() : ShippedRun("metastable-cigs") { second().dark = true; }
    WorkPoint& second() { return s->panel.secondWorkPoint; }
    ConvergenceParameters& convergence() { return s->problem.input.convergence; }
    LayerParameters& absorber() { return s->zonnecel.cell.layer[0]; }
    MetaStableDefectParameters& pair() { return absorber().metastable[0]; }
    RunOutcome run() { return calculate_withMeta(surroundings, *s); }
    /// The pairs settle and no more: the state is that of the second working point.
    void settle()
    {
        ASSERT_EQ(calculate(surroundings, *s, RunMode::settle), RunOutcome::done);
        EXPECT_FALSE(s->failures.metastable);
    }
    /// Acceptor share where the pairs have settled, x um from the left.
    double share(double x_um)
    {
        const MetaRatios& r = s->metastable;
        std::size_t i = 1;
        while (r.mesh.x_um[i] < x_um) ++i;
        const std::vector<double>& F = r.pairs.at(0).F;
        const double t = (x_um - r.mesh.x_um[i - 1]) / (r.mesh.x_um[i] - r.mesh.x_um[i - 1]);
        return acceptor_share(F[i - 1] + t * (F[i] - F[i - 1]));
    }
    [[nodiscard]] std::string cell_text() const
    {
        Definition d = s->problem;
        d.input.cell = parameterset2_to_1(s->zonnecel);
        return SaveDefinitionFile(d);
    }
    bool told(const std::string& text)
    {
        return std::any_of(surroundings.report.messages.begin(), surroundings.report.messages.end(),
                           [&](const Message& m) { return m.text.find(text) != std::string::npos; });
    }
};

/// Share of a defect in its state of a charge, by Gibbs: each electron more weighs exp((EF - E)/kT) and the ways to
/// place it. @param above_EV  energy of a level
template <class AboveEV>
double share_of_charge(const DefectLevels& levels, int charge, double EF, double kT, const AboveEV& above_EV)
{
    const int count = level_count(levels);
    double weight = 1.0, sum = 1.0, of_charge = 0.0;
    for (int state = 0; state <= count; ++state) {
        if (state > 0) {
            const double ways = static_cast<double>(count - state + 1) / state;
            weight *= ways * std::exp((EF - above_EV(levels[static_cast<std::size_t>(state - 1)])) / kT);
            sum += weight;
        }
        if (charge_of_state_0(levels[0].aard) - state == charge) of_charge = weight;
    }
    return of_charge / sum;
}

/// Largest error of a share of any pair against the closed formula of equilibrium,
///
///     acceptors/donors = exp(2 (EF - E_TR)/kT) P_D/P_A
///
double error_of_equilibrium(const Simulation& s, double up_to_um = 1e9)
{
    const CalculationVariables& cv = s.currentCalcVars;
    const OnMesh& on = s.set3.on;
    const double kT = s.set3.kT;
    double worst = 0.0;
    for (const MetaPairRatios& pair : s.metastable.pairs) {
        const LayerParameters& layer = s.set3.layer[pair.layer];
        const MetaStableDefectParameters& record = layer.metastable[pair.transition];
        for (int k = cv.mesh.first[pair.layer] + 1; k < cv.mesh.last[pair.layer]; ++k) {
            const auto i = static_cast<std::size_t>(k);
            if (cv.mesh.x_um[i] > up_to_um) break;
            const double Eg = on.Eg[i], EF = cv.p[i] > cv.n[i] ? kT * std::log(on.Nv[i] / cv.p[i])
                                                               : Eg - kT * std::log(on.Nc[i] / cv.n[i]);
            const auto P = [&](int defect, int charge_type) {
                return share_of_charge(layer.srh[static_cast<std::size_t>(defect)], charge_type - 3, EF, kT,
                                       [&](const BulkRecombinationParameters& level) {
                                           return level.reference == EnergyReference::below_EC ? Eg - level.Et
                                                                                               : level.Et;
                                       });
            };
            const double F = 2.0 * (EF - record.Eact_TR) / kT +
                             std::log(P(record.donor_defect, record.donor_charge_state)) -
                             std::log(P(record.acceptor_defect, record.donor_charge_state - 2));
            worst = std::max(worst, std::abs(acceptor_share(pair.F[i]) - acceptor_share(F)));
        }
    }
    return worst;
}

TEST(MetastableCell, InTheDarkTheyStandAtTheirEquilibriumWhateverTheProcesses)
{
    struct Row {
        const char* what;
        double T = 300.0, density = 2e16, start = 0.5, limit = 1e-8;
        int electrons = 1, holes = 0, steps = 250;
        double lift = 0.0;  // of Eg over the layer [eV]
        double E_TR = 0.35;
    };
    for (const Row& row :
         {Row{"as shipped"}, Row{"usual limit", 300, 2e16, 0.5, 1e-3, 1, 0, 20},
          Row{"swings with a fixed step", 250, 2e16, 0.5, 1e-3, 1, 0, 40},
          Row{"far more pairs than dopants", 300, 2e17, 0.5, 1e-3, 1, 0, 40}, Row{"from donors", 300, 2e16, 0.05},
          Row{"from acceptors", 300, 2e16, 0.95, 1e-8, 0, 0}, Row{"from donors alone", 300, 2e16, 0.0, 1e-8, 0, 1, 50},
          Row{"one of each", 250, 2e16, 0.5, 1e-8, 1, 1}, Row{"hot", 350}, Row{"few", 300, 2e15},
          Row{"graded gap", 300, 2e16, 0.5, 1e-8, 1, 0, 250, 0.1},
          Row{"they hold the Fermi level", 300, 2e16, 0.5, 1e-3, 1, 0, 40, 0.0, 0.4},
          Row{"in the middle of the gap", 300, 2e17, 0.5, 1e-3, 1, 0, 50, 0.0, 0.5},
          Row{"in the upper half", 250, 2e17, 0.5, 1e-3, 1, 0, 50, 0.0, 0.7},
          Row{"in the cold", 200, 2e17, 0.5, 1e-3, 1, 0, 50, 0.0, 0.45}})
        for (const Route route : {Route::fast, Route::classic}) {
            MetaRun m;
            m.convergence().route = route;
            m.convergence().termination_Meta_full = row.limit;
            m.second().T = row.T;
            testing::set_uniform(m.pair().Nt, row.density);
            m.pair().initial_acceptor_configuration = row.start;
            m.pair().Eact_TR = row.E_TR;
            m.pair().electron_process = row.electrons;
            m.pair().hole_process = row.holes;
            Profile& Eg = m.absorber().material.Eg;
            Eg.law = Law::linear;
            Eg.dependence = Dependence::on_x;
            Eg.pure_B = Eg.right = Eg.pure_A + row.lift;
            m.settle();
            // The carriers of a solved state agree with its densities to what the solver leaves.
            EXPECT_LT(error_of_equilibrium(*m.s), row.limit) << row.what << static_cast<int>(route);
            EXPECT_LE(m.s->metastable.steps, row.steps) << row.what << static_cast<int>(route);

            const auto planted = relaxed_densities(m.s->metastable, m.s->set3);
            double lost = 0.0;  // each density is rounded three times
            for (std::size_t k = 0; k < planted[0].Nt.table_y.size(); ++k)
                lost = std::max(
                    lost, std::abs((planted[0].Nt.table_y[k] + planted[1].Nt.table_y[k]) / (1e6 * row.density) - 1.0));
            EXPECT_LT(lost, 7e-16) << row.what;
        }
}

/// In the cold a step of the shares is many decades of free carriers: one that leads to no state is taken back. In
/// reverse the mesh moves with the depletion region on both routes.
TEST(MetastableCell, AStepThatLeadsToNoStateIsShortenedAndAMeshThatMovesIsFollowed)
{
    for (const auto& [T, route] : {std::pair{180.0, Route::fast}, std::pair{250.0, Route::classic}}) {
        MetaRun m;
        m.convergence().route = route;
        m.second().T = T;
        m.second().V = -1.0;
        m.settle();
        EXPECT_NE(m.s->metastable.mesh.x, m.s->evenwichtcv.mesh.x) << T;
        EXPECT_LT(error_of_equilibrium(*m.s, 2.0), m.convergence().termination_Meta_full) << T;
        EXPECT_GT(m.share(2.8), 0.999) << T << ": no holes there";
    }
}

/// The share goes from 0.4 to 1 within 50 nm, in which psi moves by little more than 1 kT: C was 3.6 % off.
TEST(MetastableCell, TheMeshSeesTheFrontOfTheShares)
{
    double C[2] = {};
    for (const int fine : {1, 4}) {
        MetaRun m;
        m.wp().T = m.second().T = 200.0;
        m.wp().dark = true;
        m.s->mesh_refinement = fine;
        m.actions().CV_calculate = true;
        m.actions().CV_startV = 0.0;
        m.actions().CV_stopV = 0.1;
        m.actions().CV_points = 2;
        ASSERT_EQ(m.run(), RunOutcome::done);
        ASSERT_EQ(m.s->results.back().cv.cvcap.size(), 2U);
        C[fine == 1 ? 0 : 1] = m.s->results.back().cv.cvcap[0];
    }
    EXPECT_NEAR(C[0], C[1], 0.006 * C[1]);
}

/// Rates and charge 2 um from the back contact by hand: EC, HC and HE with their barriers, k = sigma vth Nc for the
/// electrons, the phonon frequency for the holes.
void expect_balance_in_light(const Simulation& s)
{
    const CalculationVariables& cv = s.currentCalcVars;
    const OnMesh& on = s.set3.on;
    std::size_t i = 0;
    while (cv.mesh.x_um[i] < 2.0) ++i;
    const double kT = s.set3.kT, n = cv.n[i] / on.Nc[i], p = cv.p[i] / on.Nv[i];
    const double A = 1.0 / (1.0 + std::exp(0.1 / kT) * p), share = acceptor_share(s.metastable.pairs.at(0).F[i]);
    const double to_acceptor = 1e-19 * 1e5 * 2.2e24 * n * std::exp(-0.10 / kT) + 5e12 * std::exp(-0.73 / kT);
    const double to_donor = 5e12 * p * p * std::exp(-0.35 / kT) * A;  // A: the acceptors that hold their electron
    EXPECT_NEAR(share, to_acceptor / (to_acceptor + to_donor), 1e-5);
    const double holes = 1.8e19 * p, deep = 1e14;  // [cm-3]
    EXPECT_NEAR(holes + (1.0 - share) * 2e16 + deep, 5e15 + share * A * 2e16, 1e-3 * holes) << "neutral";
}

TEST(MetastableCell, LightAndReverseBiasMakeAcceptors)
{
    double light[2], reverse[2], J[2];
    for (const std::size_t k : {0U, 1U}) {  // two starts
        MetaRun m;
        m.convergence().termination_Meta_full = 1e-6;
        m.pair().initial_acceptor_configuration = k == 0 ? 0.05 : 0.95;
        m.second().V = -1.0;
        m.settle();
        reverse[k] = m.share(2.7);
        EXPECT_NEAR(m.share(1.0), 0.618, 1e-3) << "beyond the depleted region nothing changes";
        m.second().V = 0.0;
        m.second().dark = false;
        m.settle();
        expect_balance_in_light(*m.s);
        ASSERT_EQ(m.run(), RunOutcome::done);
        light[k] = m.share(1.0);
        J[k] = m.s->JShortCircuit;
    }
    EXPECT_NEAR(light[0], light[1], 1e-4) << "the start is forgotten, its mesh too";
    EXPECT_NEAR(reverse[0], reverse[1], 0.003) << "it rises from 0.62 to 1 in 0.1 um";
    EXPECT_NEAR(J[0], J[1], 2e-5 * std::abs(J[0]));
    EXPECT_GT(light[0], 0.65);
    EXPECT_LT(light[0], 0.9);

    MetaRun dark;
    ASSERT_EQ(dark.run(), RunOutcome::done);
    EXPECT_NEAR(dark.share(1.0), 0.618, 1e-3);
    EXPECT_GT(reverse[0], dark.share(2.7) + 0.1) << "holes are emitted there and none is caught";
    EXPECT_LT(dark.s->JShortCircuit, J[0] - 0.02) << "more acceptors, a narrower field zone, less light collected";
}

/// Adds a pair of two defects that are there.
void add_pair(LayerParameters& layer, std::size_t number, int donor, int charge_type, double E_TR, double density)
{
    MetaStableDefectParameters& pair = layer.metastable[number];
    pair.present = true;
    pair.donor_defect = donor;
    pair.acceptor_defect = donor + 1;
    pair.donor_charge_state = charge_type;
    pair.Eact_TR = E_TR;
    pair.Eact_EC = 0.1, pair.Eact_HC = 0.3;
    pair.electron_process = static_cast<int>(number);
    test::set_uniform(pair.Nt, density);
}

/// A single donor and a single acceptor, the levels 0.2 eV above EV [cm-3, cm2].
void add_simple_pair(LayerParameters& layer, std::size_t number, double E_TR, double density)
{
    const int donor = layer.srhteller;
    for (const DefectType type : {DefectType::donor, DefectType::acceptor}) {
        BulkRecombinationParameters& level = test::add_defect(layer, type, EnergyDistribution::single, 0.2, density);
        level.sigma_n = level.sigma_p = 1e-15;
    }
    add_pair(layer, number, donor, 4, E_TR, density);
}

TEST(MetastableCell, PairsOfAllKindsSettleTogetherAndForgetTheirStart)
{
    struct Row {
        const char* what;
        bool dark;
        std::size_t pairs;
        void (*change)(MetaRun&);
    };
    for (const Row& row : {
             Row{"both pairs of a layer", true, 2, [](MetaRun& m) { add_simple_pair(m.absorber(), 1, 0.35, 1e16); }},
             Row{"pairs in three layers", true, 4,
                 [](MetaRun& m) {
                     add_simple_pair(m.absorber(), 1, 0.35, 1e16);
                     add_simple_pair(m.s->zonnecel.cell.layer[1], 0, 2.0, 1e17);
                     add_simple_pair(m.s->zonnecel.cell.layer[2], 1, 3.0, 1e17);
                 }},
             Row{"chains: + of one goes over to - of the other", true, 2,
                 [](MetaRun& m) {
                     const int donor = m.absorber().srhteller;
                     for (int k = 0; k < 2; ++k)
                         for (auto& level : test::add_chain(m.absorber(), LevelType::plus_zero, {0.15, 0.4}, 1e16))
                             level.sigma_n = 1e-15;
                     add_pair(m.absorber(), 1, donor, 4, 0.3, 1e16);
                 }},
             Row{"chains: 0 and 2-", true, 2,
                 [](MetaRun& m) {
                     const int donor = m.absorber().srhteller;
                     for (const LevelType first : {LevelType::plus_zero, LevelType::zero_minus})
                         for (auto& level : test::add_chain(m.absorber(), first, {0.2, 0.25, 0.3}, 1e15))
                             level.sigma_n = 1e-15;
                     add_pair(m.absorber(), 1, donor, 3, 0.2, 1e15);
                 }},
             Row{"tunnel paths everywhere", true, 1,
                 [](MetaRun& m) { m.s->problem.input.convergence.tunnel_paths = 0; }},
             Row{"tunnel paths everywhere, in the light", false, 1,
                 [](MetaRun& m) { m.s->problem.input.convergence.tunnel_paths = 0; }},
             Row{"light on the levels of both configurations", false, 1,
                 [](MetaRun& m) {
                     for (WorkPoint* point : {&m.wp(), &m.second()}) {  // few wavelengths: this is the dear one
                         point->cutOff = true;
                         point->lambdaShort = 1000.0, point->lambdaLong = 1100.0;
                     }
                     for (const std::size_t d : {0U, 1U}) {
                         BulkRecombinationParameters& level = m.absorber().srh[d][0];
                         testing::let_absorb(level);
                         level.electrons.from_model = level.holes.from_model = true;
                     }
                 }},
         }) {
        double share[2], J[2];
        for (const std::size_t k : {0U, 1U}) {
            MetaRun m;
            row.change(m);
            m.second().dark = row.dark;
            m.convergence().termination_Meta_full = 1e-5;
            for (LayerParameters& layer : m.s->zonnecel.cell.layer)
                for (MetaStableDefectParameters& pair : layer.metastable)
                    pair.initial_acceptor_configuration = k == 0 ? 0.1 : 0.9;
            ASSERT_NO_FATAL_FAILURE(m.settle()) << row.what;
            EXPECT_EQ(m.s->metastable.pairs.size(), row.pairs) << row.what;
            if (row.dark) {
                EXPECT_LT(error_of_equilibrium(*m.s), 1e-5) << row.what;
            }
            share[k] = m.share(1.0);
            ASSERT_EQ(m.run(), RunOutcome::done) << row.what;
            J[k] = m.s->JShortCircuit;
        }
        EXPECT_NEAR(share[0], share[1], 1e-3) << row.what;
        EXPECT_NEAR(J[0], J[1], 1e-4 * std::abs(J[0])) << row.what;
    }
}

TEST(MetastableCell, TheCellIsAsItWasWhateverHappens)
{
    MetaRun plain;
    plain.pair().present = false;
    ASSERT_EQ(plain.run(), RunOutcome::done);

    struct Row {
        const char* what;
        void (*change)(MetaRun&);
        RunOutcome outcome;
        const char* message;
    };
    for (const Row& row : {
             Row{"a good run", [](MetaRun&) {}, RunOutcome::done, ""},
             Row{"steps run out", [](MetaRun& m) { m.convergence().maxmetaiter_full = 2; }, RunOutcome::done,
                 "No convergence in update metastable defects\nRemaining error:"},
             Row{"energies that disagree", [](MetaRun& m) { m.pair().Eact_EE = 0.5; }, RunOutcome::done,
                 "Eact_EE follows from the others"},
             Row{"no second working point", [](MetaRun& m) { m.s->panel.second_is_given = false; }, RunOutcome::done,
                 "No second working point is given: the pairs settle in the dark at 0.000 V and 300.00 K"},
             Row{"clamped", [](MetaRun& m) { m.convergence().usemetaclamping = 1, m.convergence().clamp_meta = 0.3; },
                 RunOutcome::done, ""},
             Row{"clamped too much", [](MetaRun& m) { m.convergence().usemetaclamping = 1; }, RunOutcome::done,
                 "Remaining error:"},
             Row{"no light at the second working point",
                 [](MetaRun& m) { m.second().dark = false, m.second().spectrumFile = "gone.spe"; }, RunOutcome::failed,
                 "gone.spe"},
             Row{"a solve that fails while they settle",
                 [](MetaRun& m) {
                     m.convergence().route = Route::classic;
                     m.convergence().maxiter = 3;
                     m.second().V = 0.3;
                 },
                 RunOutcome::failed, "Convergence failure"},
             Row{"a pair that cannot react", [](MetaRun& m) { m.pair().donor_charge_state = 3; }, RunOutcome::failed,
                 "Layer 1 (p-CIGS): metastable transition 1: its acceptor configuration, defect 2, has no state of "
                 "charge 2-"},
         }) {
        MetaRun m;
        row.change(m);
        const std::string before = m.cell_text();
        EXPECT_EQ(m.run(), row.outcome) << row.what;
        EXPECT_EQ(m.cell_text(), before) << row.what;
        EXPECT_EQ(m.told(row.message), *row.message != '\0') << row.what;
        EXPECT_EQ(m.s->failures.work_point, row.outcome != RunOutcome::done) << row.what;
        const bool settles_not = std::string(row.message).find("Remaining error") != std::string::npos;
        EXPECT_EQ(m.s->failures.metastable, settles_not) << row.what;

        // Nothing is left behind: without the pair the same numbers as of a cell that never had one.
        m.pair().present = false;
        m.convergence() = plain.convergence();
        ASSERT_EQ(m.run(), RunOutcome::done) << row.what;
        EXPECT_EQ(m.s->JShortCircuit, plain.s->JShortCircuit) << row.what;
    }
}

TEST(MetastableCell, APairWithoutProcessesKeepsItsRatioAndTheSharesAreInTheOccupations)
{
    MetaRun m;
    m.pair().electron_process = m.pair().hole_process = 1;
    m.pair().sigma_don_n = m.pair().sigma_acc_p = 0.0;
    m.pair().initial_acceptor_configuration = 0.3;
    m.pair().Nt.pure_B = m.pair().Nt.right = 1e16;  // half of it at the right
    m.pair().Nt.law = Law::linear;
    ASSERT_EQ(m.run(), RunOutcome::done);
    EXPECT_LE(m.s->metastable.steps, 2) << "one for each mesh";
    const CalculationVariables& cv = m.s->werkpuntcv;
    const StateOnItsMesh state(*m.s, cv);
    const Problem problem = state.problem();
    const ProfileSource source{"", run_record(m.surroundings, *m.s), problem, cv};
    const std::string text = ft_naar_file(source, extract_profiles(problem, cv));
    EXPECT_NE(text.find("\tf_t(metastable acceptor config.)1,1\tf_t(metastable donor config.)1,1\n"),
              std::string::npos);
    EXPECT_NE(text.find("\t  3.00000000e-01\t  7.00000000e-01\n"), std::string::npos);
    std::vector<double> Nt(static_cast<std::size_t>(cv.mesh.n_in_layer[0]));
    Full_Nt_x_Dependence(m.s->set3, cv.mesh, 0, m.s->set3.layer[0].srh[1][0], m.s->set3.scale.N0[0], Nt);
    EXPECT_NEAR(Nt.front() / (0.3 * 2e22), 1.0, 1e-12);
    EXPECT_NEAR(Nt.back() / (0.3 * 1e22), 1.0, 1e-12);
}

}  // namespace
}  // namespace kovin
