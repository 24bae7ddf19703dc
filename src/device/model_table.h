// The eighteen parametric models: table, keywords, number conversions.
#pragma once

#include "device/cell.h"
#include "device/keyed_source.h"
#include "device/model.h"

#include <span>
#include <string_view>

namespace kovin {

/// The rows in their order, with default values.
[[nodiscard]] std::span<const Model> ActualModelParameters();

/// Row of a model number; the square-root law (63) for a number outside the table.
[[nodiscard]] const Model& model_of_number(int number);

/// Name of a value of a spectrum or generation model, unit included, as result files show it.
/// @param parameter  from 0; empty for a value that the model does not have, and for absorption models
[[nodiscard]] std::string_view model_parameter_name(int number, int parameter);

/// Name of the other form in which a value of a spectrum or generation model can be edited: light as a current or in
/// mW/cm2, wavelengths as photon energies, the temperature of a black body by its maximum. Empty where there is none.
/// @param parameter  from 0
[[nodiscard]] std::string_view model_bis_parameter_name(int number, int parameter);

/// A value in its other form, and back: the same value where there is none, 0 for an energy or wavelength that is not
/// above 0. The maximum of a black body is that of its power per wavelength, 2897770 nm K/T, as in its curve.
[[nodiscard]] double ParameterValueToBisParameterValue(int number, int parameter, double value);
[[nodiscard]] double BisParameterValueToParameterValue(int number, int parameter, double value);

/// Values that a parameter of a model can have: amounts are not negative, lengths, wavelengths and temperatures above
/// 0. Positions may lie outside the cell; the second and third value of the absorption models have any sign.
/// @param parameter  from 0; any number for a value that the model does not have
[[nodiscard]] Limits model_parameter_limits(int number, int parameter);

/// Position of an absorption model in an AbsorptionModelSet; 2 for a number outside 61 to 66.
[[nodiscard]] int AbsorptionModelNumberToAbsorptionIndex(int number);

/// Number of the absorption model that a text names, case ignored, anywhere in it; -1 if none.
[[nodiscard]] int AbsorptionModelKeywordToNumber(std::string_view text);

/// The six models of a material from the table, all off but `number` (-1: none on).
[[nodiscard]] AbsorptionModelSet default_absorption_models(int material, double Eg, int number);

enum class WhichMaterial : int { none = -1, A = 0, B = 1, both = 2 };
void SetDefaultAbsorptionModel(Absorption& absorption, double Eg_A, double Eg_B, WhichMaterial which, int number);

/// Writes the band gap into the fifth value of the models of a material.
void WriteEgInAbsorptionModel(AbsorptionModelSet& set, double Eg);
void WriteEgInAllAbsorptionModels(CellParameters& cell);

}  // namespace kovin
