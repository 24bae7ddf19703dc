#include "device/cell_defaults.h"

#include "device/model_table.h"

namespace kovin {

namespace {

/// A uniform quantity of a material: `value` everywhere, constants of the law behind it.
struct QuantityDefault {
    Quantity quantity;
    Profile MaterialParameters::*member;
    double value, third, fourth, fifth;
};

using M = MaterialParameters;
constexpr QuantityDefault quantity_defaults[] = {
    {Quantity::chi, &M::chi, 4.5, 1, 1, 1},
    {Quantity::Eg, &M::Eg, 1.2, 0.5, 1, 1},
    {Quantity::eps, &M::eps, 10, 1, 1, 1},
    {Quantity::Nc, &M::Nc, 1e25, 10, 10, 10},
    {Quantity::Nv, &M::Nv, 1e25, 10, 10, 10},
    {Quantity::Nd, &M::Nd, 1e21, 10, 10, 10},
    {Quantity::Na, &M::Na, 1e21, 10, 10, 10},
    {Quantity::mu_n, &M::mu_n, 0.005, 0.001, 1, 1},
    {Quantity::mu_p, &M::mu_p, 0.005, 0.001, 1, 1},
    {Quantity::m_e, &M::m_e, 1, 1, 1, 1},
    {Quantity::m_h, &M::m_h, 1, 1, 1, 1},
    {Quantity::v_th_n, &M::v_th_n, 1e5, 10, 10, 10},
    {Quantity::v_th_p, &M::v_th_p, 1e5, 10, 10, 10},
    {Quantity::K_rad, &M::K_rad, 0, 10, 10, 10},
    {Quantity::c_n_auger, &M::c_n_auger, 0, 10, 10, 10},
    {Quantity::c_p_auger, &M::c_p_auger, 0, 10, 10, 10},
};

void set_numbers(Profile& profile, Quantity quantity, std::array<double, 7> v)
{
    InitialiseProfile(profile);
    profile.quantity = quantity;
    profile.pure_A = v[0], profile.pure_B = v[1];
    profile.third = v[2], profile.fourth = v[3], profile.fifth = v[4];
    profile.left = v[5], profile.right = v[6];
}

/// Where a profile stands: the same for all profiles of one layer.
void place(Profile& profile, int layer, double thickness)
{
    profile.layer = layer;
    profile.thickness = thickness;
}

}  // namespace

void InitialiseProfile(Profile& profile) { profile = Profile{}; }

void InitialiseMaterialParameters(MaterialParameters& material, int layer)
{
    material = MaterialParameters{};
    for (const QuantityDefault& q : quantity_defaults)
        set_numbers(material.*q.member, q.quantity, {q.value, q.value, q.third, q.fourth, q.fifth, q.value, q.value});
    material.Nd.dependence = material.Na.dependence = Dependence::uniform;
    set_numbers(material.absorption.grading, Quantity::absorption, {1200, 1200, 250, 250, 0, 1.2, 1.2});
    SetDefaultAbsorptionModel(material.absorption, material.Eg.pure_A, material.Eg.pure_B, WhichMaterial::both, 63);
    for (const QuantityDefault& q : quantity_defaults) place(material.*q.member, layer, material.d);
    place(material.absorption.grading, layer, material.d);
}

void InitialiseOpticalCaptureProperties(OpticalCaptureProperties& capture) { capture = OpticalCaptureProperties{}; }

void InitialiseBulkRecombinationParameters(BulkRecombinationParameters& level, int layer, int defect, int level_number)
{
    level = BulkRecombinationParameters{};
    level.layer = layer;
    level.defect = defect;
    level.level = level_number;
    set_numbers(level.Nt, Quantity::Nt, {1e20, 1e20, 1e20, 1, 1, 1e20, 1e20});
    level.Nt.layer = layer;
}

void InitialiseMetaStableDefectParameters(MetaStableDefectParameters& pair, int layer, int number)
{
    pair = MetaStableDefectParameters{};
    pair.number = number;
    set_numbers(pair.Nt, Quantity::Nt, {1e20, 1e20, 1, 1, 1, 1e20, 1e20});
    pair.Nt.layer = layer;
    pair.donor_charge_state = 3;
    pair.phonon_frequency = 5e12;
    pair.derived_energy = {false, false, true, false, true};
}

void InitialiseLayerParameters(LayerParameters& layer, int number, bool is_new)
{
    layer = LayerParameters{};
    layer.layernumber = number;
    layer.is_new = is_new;
    InitialiseMaterialParameters(layer.material, number);
    set_numbers(layer.composition, Quantity::composition, {0, 1, 0, 0, 0, 0, 0});
    layer.composition.dependence = Dependence::on_x;
    for (int defect = 0; defect < max_defects; ++defect)
        for (int level = 0; level < max_levels; ++level)
            InitialiseBulkRecombinationParameters(
                layer.srh[static_cast<std::size_t>(defect)][static_cast<std::size_t>(level)], number, defect, level);
    for (int i = 0; i < max_metastable; ++i)
        InitialiseMetaStableDefectParameters(layer.metastable[static_cast<std::size_t>(i)], number, i);
    UpdateThicknessInProfiles_Layer(layer);
}

void InitialiseInterfaceRecombinationParameters(InterfaceRecombinationParameters& defect, int interface_number,
                                                int number)
{
    defect = InterfaceRecombinationParameters{};
    defect.interface_number = interface_number;
    defect.defect = number;
}

void InitialiseInterfaceParameters(InterfaceParameters& interface, int number)
{
    interface = InterfaceParameters{};
    interface.number = number;
    for (int i = 0; i < max_interface_defects; ++i)
        InitialiseInterfaceRecombinationParameters(interface.defects[static_cast<std::size_t>(i)], number, i);
}

void InitialiseContactParameters(ContactParameters& contact, int side)
{
    contact = ContactParameters{};
    // Slow for minorities, if the p side is at the left.
    (side == -1 ? contact.Sn : contact.Sp) = 1000.0;
}

void InitialiseCellDefinition(CellParameters& cell)
{
    cell.voltage_reference = -1;
    cell.reference_system = 1;
    cell.voltage_sign = cell.current_sign = 1;
    InitialiseContactParameters(cell.left, -1);
    InitialiseContactParameters(cell.right, +1);
    cell.layers = 0;
    for (int i = 0; i < max_layers; ++i) InitialiseLayerParameters(cell.layer[static_cast<std::size_t>(i)], i, true);
    for (int i = 0; i < max_interfaces; ++i)
        InitialiseInterfaceParameters(cell.interfaces[static_cast<std::size_t>(i)], i);
}

void UpdateThicknessInProfiles_Layer(LayerParameters& layer)
{
    const int number = layer.layernumber;
    const double d = layer.material.d;
    for (const QuantityDefault& q : quantity_defaults) place(layer.material.*q.member, number, d);
    place(layer.material.absorption.grading, number, d);
    place(layer.composition, number, d);
    for (auto& defect : layer.srh)
        for (auto& level : defect) place(level.Nt, number, d);
    for (auto& pair : layer.metastable) place(pair.Nt, number, d);
}

void UpdateThicknessInProfiles_Cell(CellParameters& cell)
{
    for (LayerParameters& layer : cell.layer) UpdateThicknessInProfiles_Layer(layer);
}

}  // namespace kovin
