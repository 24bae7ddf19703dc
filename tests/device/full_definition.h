// A problem in which every keyword of a definition file is met with a value of its own, at written precision.
#pragma once

#include "device/cell_defaults.h"
#include "device/defect_levels.h"
#include "device/definition.h"
#include "device/definition_sections.h"
#include "device/definition_tables.h"
#include "device/model_table.h"
#include "device/quantities.h"

#include <string>

namespace kovin {

inline Definition full_definition()
{
    Definition d;
    CellParameters& cell = d.input.cell.cell;
    InitialiseCellDefinition(cell);
    cell.layers = max_layers;

    // Numbers that differ from each other and have at most three digits: 1.25, 1.5, 1.75, ...
    double counter = 1.0;
    const auto another = [&](double scale) {
        counter = counter >= 9.0 ? 1.25 : counter + 0.25;
        return counter * scale;
    };
    // Laws and dependences in turn, so that each occurs.
    int turn = 0;
    const auto profile = [&](Profile& p, double scale) {
        p.law = static_cast<Law>(turn % 16);
        p.dependence = static_cast<Dependence>(turn % 3);
        p.file = p.law == Law::from_file ? "grading " + std::to_string(turn) + ".grad" : "";
        p.pure_A = another(scale), p.pure_B = another(scale), p.third = another(scale), p.fourth = another(scale);
        p.fifth = another(scale), p.left = another(scale), p.right = another(scale);
        SetProfileScaleParameters(p);
        ++turn;
    };
    const auto contact = [&](ContactParameters& c, bool left) {
        c.flatband = c.recalculate = !left;
        if (left) c.Fi_m = 4.625;
        c.Sn = another(1e4), c.Sp = another(1e3), c.m_e = 0.25, c.m_h = 0.5;
        c.tunneling = left, c.filter = true, c.filter_constant = left, c.filter_transmission = left;
        if (left)
            c.filter_value = 0.375;
        else
            c.filter_file = "filter.ftr";
    };
    contact(cell.left, true);
    contact(cell.right, false);
    cell.voltage_reference = 1, cell.reference_system = 0, cell.voltage_sign = -1, cell.current_sign = 1;

    for (int i = 0; i < cell.layers; ++i) {
        LayerParameters& layer = cell.layer[static_cast<std::size_t>(i)];
        MaterialParameters& m = layer.material;
        layer.is_new = false;
        layer.name = m.name = "front contact of layer " + std::to_string(i + 1);
        m.d = another(1e-7);
        m.tunneling = i == 1;
        constexpr int types[] = {0, 1, 2, 3, 11, 12, 13};
        layer.functional_type = types[i];
        Profile& y = layer.composition;
        constexpr struct {
            Law law;
            int mode;
        } compositions[] = {{Law::uniform, 0},   {Law::uniform_B, 20}, {Law::uniform_y, 21}, {Law::linear, 1},
                            {Law::from_file, 1}, {Law::parabolic, 1},  {Law::table, 1}};
        y.law = compositions[i].law;
        y.file = y.law == Law::from_file ? "y.grad" : "";
        y.pure_A = i == 0 ? 0.0 : 0.25, y.pure_B = 0.75, y.third = 0.5, y.fourth = 0.125, y.fifth = 0.625;
        y.left = 0.25, y.right = 0.75;
        SetProfileScaleParameters(y);
        layer.composition_mode = m.composition_mode = compositions[i].mode;
        for (const QuantityRow& row : graded_quantities())
            profile(m.*row.member, row.scientific && row.user_factor < 1.0 ? 1e22 : 0.5);
        profile(m.absorption.grading, 100.0);
        m.absorption.grading.dependence = Dependence::on_y;

        Absorption& a = m.absorption;
        SetDefaultAbsorptionModel(a, m.Eg.pure_A, m.Eg.pure_B, WhichMaterial::both, 63);
        if (i % 2 == 0) {
            a.pure_A_from_file = true, a.file_A = "a.abs";
            a.A_pure_A = a.B_pure_A = 0.0;
            for (Model& model : a.model_B.models) {
                model.on = true;
                for (int k = 0; k < model.parameters; ++k) model.values[static_cast<std::size_t>(k)] = another(100.0);
            }
        } else {
            a.pure_B_from_file = true, a.file_B = "layer b.abs";
            a.model_A.models[2].values[0] = another(1e4), a.model_A.models[2].values[1] = another(10.0);
        }

        layer.srhteller = max_defects;
        for (int k = 0; k < max_defects; ++k) {
            auto& levels = layer.srh[static_cast<std::size_t>(k)];
            const int count = k == 6 ? 4 : k >= 3 ? 2 : 1;
            // First transition by type: neutral, 0/-, +/0, 0/-, 2+/+, +/0, 3+/2+.
            constexpr int first[] = {0, 3, 4, 3, 5, 4, 6};
            const double Ekar = 0.125 + 0.0625 * k;
            Profile Nt = levels[0].Nt;
            profile(Nt, 1e20);
            for (int l = 0; l < max_levels; ++l) {
                BulkRecombinationParameters& level = levels[static_cast<std::size_t>(l)];
                level.defectType = static_cast<DefectType>(k);
                level.levels = count;
                level.energy_distribution = static_cast<EnergyDistribution>(k % 5);
                level.reference = static_cast<EnergyReference>(k % 3);
                level.Ekar = Ekar;
                level.correlation = k == 4;
                level.Ecor = k == 4 ? 0.25 : 0.0;
                level.Nt = Nt;
                level.peak_to_total = peak_to_total(level.energy_distribution, Ekar);
                level.aard = static_cast<LevelType>(first[k] == 0 ? 0 : std::max(first[k] - l, 0));
                if (l >= count) continue;
                level.sigma_n = another(1e-19), level.sigma_p = another(1e-20), level.Et = 0.125 * (l + 1);
                if (k != 3 && k != 6) continue;
                OpticalCaptureProperties& capture = l % 2 == 0 ? level.electrons : level.holes;
                capture.present = true, capture.file = "capture.opt", capture.from_model = l == 2;
                level.electrons.n = another(1.0), level.electrons.m_over_m0 = another(0.1);
                level.holes.Eeff_over_E0 = k == 3 || l > 0 ? another(1.0) : 1.0;
            }
        }
        for (int k = 0; k < max_metastable && i < 2; ++k) {
            MetaStableDefectParameters& pair = layer.metastable[static_cast<std::size_t>(k)];
            pair.present = true;
            profile(pair.Nt, 1e21);
            pair.Nt.dependence = k == 0 ? Dependence::on_x : Dependence::on_y;
            for (const auto& key : definition_tables::metastable_keys) {
                if (key.real)
                    pair.*key.real = key.scientific ? another(1e-19) : another(0.1);
                else
                    pair.*key.whole = 1 + k;
            }
            pair.donor_defect = 2 * k, pair.acceptor_defect = 2 * k + 1;
            pair.derived_energy = {true, false, k == 0, true, false};
            pair.reference = static_cast<EnergyReference>(1 + k);
            pair.initial_acceptor_configuration = 0.25 * (k + 1);
            for (const bool donor : {true, false}) {
                auto& level = layer.srh[static_cast<std::size_t>(donor ? pair.donor_defect : pair.acceptor_defect)][0];
                level.metastable_transition = k;
                level.metastable_role = donor ? 0 : 1;
            }
        }
    }
    for (int i = 0; i + 1 < cell.layers; ++i) {
        InterfaceParameters& interface = cell.interfaces[static_cast<std::size_t>(i)];
        interface.name = "working point " + std::to_string(i);
        interface.tunneling = i == 2;
        interface.m_e = 0.25, interface.m_h = 0.5;
        interface.defect_count = i % (max_interface_defects + 1);
        for (int k = 0; k < interface.defect_count; ++k) {
            InterfaceRecombinationParameters& defect = interface.defects[static_cast<std::size_t>(k)];
            defect.defectType = static_cast<DefectType>(k);
            for (const auto& key : definition_tables::interface_capture_keys)
                if (key.real) defect.*key.real = another(1e-19);
            defect.N = another(1e14), defect.Et = 0.25 * (k + 1), defect.Ekar = 0.5;
            defect.tunneling = k == 1, defect.m_e = 0.75, defect.m_h = 1.25;
            defect.energy_distribution = static_cast<EnergyDistribution>((i + k) % 5);
            defect.reference = static_cast<EnergyReference>(3 + (i + k) % 7);
            defect.peak_to_total = peak_to_total(defect.energy_distribution, defect.Ekar);
            defect.N_peak = defect.N / defect.peak_to_total;
        }
    }

    ConvergenceParameters& c = d.input.convergence;
    for (const auto& key : definition_tables::numerical_keys) {
        if (key.real)
            c.*key.real = another(0.125);
        else
            c.*key.whole = key.limits.high == 1.0 ? 1 - c.*key.whole : 1;
    }
    c.mesh_ratio_max = 2.5, c.mesh_ratio_min = 1.25, c.defectdiscretisations = 12, c.flatband_with_defects = 0;
    c.maxiter = c.maxiter_psi_equilibrium = c.maxiter_psi = c.maxiter_n = c.maxiter_p = 345;
    d.qe = {.mode = 0, .power = 2.5, .photons = 1.25e20};
    d.NW.side = d.NW.order_middle = d.NW.order_edges = d.NW.level = d.NW.epsilon_mode = d.NW.smooth_epsilon = 1;
    d.NW.layer = 3, d.NW.points = 5, d.NW.defect = 2, d.NW.eh_type = 0, d.NW.constant_epsilon = 11.25;
    d.NW_from_file = true, d.IPV_Mode = true;
    auto& light = d.workPoint;
    light.lightFromRight = false, light.Rfront = 0.25, light.Tfront = 0.75, light.references_given = true;
    light.RsPresent = light.GshPresent = true, light.Rs = 1.25e-4, light.Gsh = 2.5;
    d.remarks = {"A cell that uses every keyword"};
    UpdateThicknessInProfiles_Cell(cell);
    return d;
}

}  // namespace kovin
