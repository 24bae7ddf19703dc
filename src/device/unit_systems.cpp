#include "device/unit_systems.h"

#include "device/cell_defaults.h"
#include "device/quantities.h"

#include <utility>

namespace kovin {

namespace {

/// Multiplies by a factor on the way to the user and divides on the way back, so that a round trip gives the same
/// number up to rounding.
class Converter {
public:
    explicit Converter(bool to_user) : to_user_(to_user) {}

    void operator()(double& value, double factor) const { value = to_user_ ? value * factor : value / factor; }

    void operator()(Profile& p, double factor) const
    {
        for (double* value : {&p.pure_A, &p.pure_B, &p.left, &p.right, &p.left_lift, &p.right_lift})
            (*this)(*value, factor);
        if (p.third_scaled) (*this)(p.third, factor);
        if (p.fourth_scaled) (*this)(p.fourth, factor);
        for (double& value : p.table_y) (*this)(value, factor);
    }

private:
    bool to_user_;
};

constexpr double velocity = 100.0;      // m/s to cm/s
constexpr double area = 1e4;            // m2 to cm2
constexpr double density = 1e-6;        // m^-3 to cm^-3
constexpr double sheet_density = 1e-4;  // m^-2 to cm^-2
constexpr double length = 1e6;          // m to um
constexpr double per_length = 0.01;     // 1/m to 1/cm

void convert(BulkRecombinationParameters& level, const Converter& by)
{
    std::swap(level.sigma_n_opt, level.sigma_p_opt);
    for (double* sigma : {&level.sigma_n, &level.sigma_p, &level.sigma_n_plus, &level.sigma_n_zero, &level.sigma_p_zero,
                          &level.sigma_p_min, &level.sigma_n_opt, &level.sigma_p_opt})
        by(*sigma, area);
    for (OpticalCaptureProperties* capture : {&level.holes, &level.electrons})
        for (double& sigma : capture->sigmas) by(sigma, area);
    by(level.Lkar, length);
    by(level.Nleft, density);
    by(level.Nright, density);
    by(level.Nt, density);
}

void convert(MetaStableDefectParameters& pair, const Converter& by)
{
    for (double* sigma : {&pair.sigma_acc_n, &pair.sigma_acc_p, &pair.sigma_don_n, &pair.sigma_don_p}) by(*sigma, area);
    by(pair.Nt, density);
}

void convert(LayerParameters& layer, const Converter& by)
{
    MaterialParameters& m = layer.material;
    by(m.d, length);
    UpdateThicknessInProfiles_Layer(layer);
    for (const QuantityRow& row : graded_quantities()) by(m.*row.member, row.user_factor);
    Absorption& a = m.absorption;
    for (double* coefficient : {&a.A_pure_A, &a.B_pure_A, &a.A_pure_B, &a.B_pure_B}) by(*coefficient, per_length);
    for (auto& defect : layer.srh)
        for (auto& level : defect) convert(level, by);
    for (auto& pair : layer.metastable) convert(pair, by);
}

void convert(CellParameters& cell, const Converter& by)
{
    for (ContactParameters* contact : {&cell.left, &cell.right}) {
        by(contact->Sn, velocity);
        by(contact->Sp, velocity);
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(cell.layers); ++i) convert(cell.layer[i], by);
    for (std::size_t i = 0; i + 1 < static_cast<std::size_t>(cell.layers); ++i)
        for (InterfaceRecombinationParameters& d : cell.interfaces[i].defects) {
            for (double* sigma : {&d.sigma_nleft, &d.sigma_nright, &d.sigma_pleft, &d.sigma_pright}) by(*sigma, area);
            by(d.N, sheet_density);
            by(d.N_peak, sheet_density);
        }
}

/// Equal ends for every quantity of a layer of uniform composition that does not depend on the position.
void make_layer_uniform(LayerParameters& layer)
{
    int selector = 2;  // mode 21 and graded layers stay as they are
    if (layer.composition_mode == 0) selector = 0;
    if (layer.composition_mode == 20) selector = 1;
    const auto make = [selector](Profile& p) {
        if (p.dependence != Dependence::on_x) MakeUniform(p, selector);
    };
    for (const QuantityRow& row : graded_quantities()) make(layer.material.*row.member);
    for (auto& defect : layer.srh)
        for (auto& level : defect) make(level.Nt);
}

}  // namespace

UserCell parameterset1_to_2(const SiCell& si)
{
    UserCell user{si.cell};
    convert(user.cell, Converter(true));
    return user;
}

SiCell parameterset2_to_1(const UserCell& user)
{
    SiCell si{user.cell};
    for (std::size_t i = 0; i < static_cast<std::size_t>(si.cell.layers); ++i) make_layer_uniform(si.cell.layer[i]);
    convert(si.cell, Converter(false));
    for (std::size_t i = 0; i < static_cast<std::size_t>(si.cell.layers); ++i)
        for (auto& defect : si.cell.layer[i].srh)
            for (auto& level : defect)
                if (level.spatial == SpatialDistribution::homogenous) level.Nright = level.Nleft;
    return si;
}

bool CheckMETAMode(const CellParameters& cell)
{
    for (std::size_t i = 0; i < static_cast<std::size_t>(cell.layers); ++i)
        for (const auto& pair : cell.layer[i].metastable)
            if (pair.present) return true;
    return false;
}

}  // namespace kovin
