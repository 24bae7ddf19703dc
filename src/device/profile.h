// A graded quantity: a law with its constants. Plain data; the laws are computed in grading.
#pragma once

#include <string>
#include <vector>

namespace kovin {

/// Grading law; the numbers stand in definition files.
enum class Law : int {
    uniform = 0,
    linear = 1,
    parabolic = 2,
    logarithmic = 3,
    exponential = 4,
    beta = 5,
    effective_medium = 6,
    alpha_interpolation = 7,
    power = 8,
    parabolic_2 = 9,
    uniform_B = 10,
    uniform_y = 11,
    from_file = 12,
    table = 13,
    diffusion_gauss = 14,
    diffusion_erfc = 15,
};

/// What a quantity is graded on; the numbers stand in definition files.
enum class Dependence : int { on_y = 0, on_x = 1, uniform = 2 };

/// Number by which files, batch and recorder name a graded quantity.
enum class Quantity : int {
    none = -1,
    Eg = 10,
    chi = 11,
    eps = 12,
    Nc = 13,
    Nv = 14,
    v_th_n = 15,
    v_th_p = 16,
    mu_n = 17,
    mu_p = 18,
    Nd = 19,
    Na = 20,
    Nt = 21,
    K_rad = 22,
    c_n_auger = 23,
    c_p_auger = 24,
    m_e = 25,
    m_h = 26,
    composition = 27,
    absorption = 30,
};

struct Profile {
    Law law = Law::uniform;
    Dependence dependence = Dependence::on_y;
    double pure_A = 0.0;                            ///< value at y = 0; a law on x does not use it
    double pure_B = 0.0;                            ///< value at y = 1; a law on x does not use it
    double third = 0.0, fourth = 0.0, fifth = 0.0;  ///< constants of the law
    double left = 0.0, right = 0.0;                 ///< at the layer's ends: computed; a law on x runs between them
    /// Graded on x by law 2: by how much its minimum lifts left and right above the ends of its parabola; computed.
    double left_lift = 0.0, right_lift = 0.0;
    bool third_scaled = false, fourth_scaled = false;  ///< the constant carries the unit of the quantity
    std::string file;                                  ///< of Law::from_file
    /// Rows of Law::table and, once loaded, of Law::from_file: position [um] from the left end of the layer or, graded
    /// on y, composition, strictly rising; values in the unit of the quantity.
    std::vector<double> table_x, table_y;
    bool table_log = false;  ///< the rows are joined in ln(value)
    int layer = 0;           ///< from 0
    Quantity quantity = Quantity::none;
    double thickness = 1e-6;  ///< of the layer, in the length unit of the set that holds this
};

/// Sets the two scale marks from the law.
constexpr void SetProfileScaleParameters(Profile& p)
{
    p.third_scaled = p.law == Law::parabolic || p.law == Law::exponential || p.law == Law::diffusion_gauss ||
                     p.law == Law::diffusion_erfc;
    p.fourth_scaled = p.law == Law::parabolic || p.law == Law::parabolic_2;
}

/// Copies the pure A value (selector 0) or the pure B value (1) to both ends; any other selector does nothing.
constexpr void MakeUniform(Profile& p, int selector)
{
    if (selector == 0) p.left = p.right = p.pure_A;
    if (selector == 1) p.left = p.right = p.pure_B;
}

}  // namespace kovin
