// Uniform layers for tests: figures as in a definition file, SI units.
#pragma once

#include "device/cell_defaults.h"
#include "device/charge_states.h"
#include "device/definition.h"
#include "device/grading.h"

#include <cmath>
#include <vector>

namespace kovin::test {

/// A quantity that is the same everywhere in its layer.
inline void set_uniform(Profile& profile, double value)
{
    profile.law = Law::uniform;
    profile.pure_A = profile.pure_B = profile.left = profile.right = value;
}

struct LayerFigures {
    double d = 1e-6;                             ///< [m]
    double Eg = 1.12, chi = 4.05, eps = 11.7;    ///< [eV], [eV]
    double Nc = 2.86e25, Nv = 3.1e25;            ///< [m^-3]
    double Na = 0.0, Nd = 0.0;                   ///< [m^-3]
    double mu_n = 0.1, mu_p = 0.04, v_th = 1e5;  ///< [m2/Vs], [m/s]
};

inline void set_layer(LayerParameters& layer, int number, const LayerFigures& f)
{
    InitialiseLayerParameters(layer, number, false);
    MaterialParameters& m = layer.material;
    m.d = f.d;
    set_uniform(m.Eg, f.Eg);
    set_uniform(m.chi, f.chi);
    set_uniform(m.eps, f.eps);
    set_uniform(m.Nc, f.Nc);
    set_uniform(m.Nv, f.Nv);
    set_uniform(m.Na, f.Na);
    set_uniform(m.Nd, f.Nd);
    set_uniform(m.mu_n, f.mu_n);
    set_uniform(m.mu_p, f.mu_p);
    set_uniform(m.v_th_n, f.v_th);
    set_uniform(m.v_th_p, f.v_th);
    UpdateThicknessInProfiles_Layer(layer);
}

/// The layers of a cell with default settings.
inline InputParameters cell_of(const std::vector<LayerFigures>& layers)
{
    InputParameters set1;
    CellParameters& cell = set1.cell.cell;
    InitialiseCellDefinition(cell);
    cell.layers = static_cast<int>(layers.size());
    for (std::size_t j = 0; j < layers.size(); ++j) set_layer(cell.layer[j], static_cast<int>(j), layers[j]);
    return set1;
}

/// Adds a defect with one level.
inline BulkRecombinationParameters& add_defect(LayerParameters& layer, DefectType type, EnergyDistribution distribution,
                                               double Et, double Nt, double Ekar = 0.1)
{
    BulkRecombinationParameters& level = layer.srh[static_cast<std::size_t>(layer.srhteller)][0];
    InitialiseBulkRecombinationParameters(level, layer.layernumber, layer.srhteller, 0);
    ++layer.srhteller;
    level.defectType = type;
    level.aard = type == DefectType::donor      ? LevelType::plus_zero
                 : type == DefectType::acceptor ? LevelType::zero_minus
                                                : LevelType::neutral;
    level.energy_distribution = distribution;
    level.Et = Et;
    level.Ekar = Ekar;
    level.Nt.dependence = Dependence::uniform;
    set_uniform(level.Nt, Nt);
    return level;
}

/// Adds a defect whose levels have the energies `Et`, the most positive transition first; they capture alike, but the
/// holes of each level less than those of the level before.
inline DefectLevels& add_chain(LayerParameters& layer, LevelType first, const std::vector<double>& Et, double Nt,
                               EnergyDistribution distribution = EnergyDistribution::single, double Ekar = 0.05)
{
    DefectLevels& levels = layer.srh[static_cast<std::size_t>(layer.srhteller)];
    add_defect(layer, DefectType::custom_multilevel, distribution, 0.0, Nt, Ekar);
    const BulkRecombinationParameters whole = levels[0];
    for (std::size_t s = 0; s < Et.size(); ++s) {
        levels[s] = whole;
        levels[s].level = static_cast<int>(s);
        levels[s].levels = static_cast<int>(Et.size());
        levels[s].Et = Et[s];
        levels[s].aard =
            static_cast<LevelType>(first == LevelType::neutral ? 0 : static_cast<int>(first) - levels[s].level);
        levels[s].sigma_n = 1e-19;
        levels[s].sigma_p = 3e-18 / std::pow(20.0, levels[s].level);
    }
    return levels;
}

}  // namespace kovin::test
