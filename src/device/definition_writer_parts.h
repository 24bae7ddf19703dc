// The parts of a definition file that its writer puts together, from definition_writer_parts.cpp.
#pragma once

#include "device/definition.h"

#include <array>
#include <string>
#include <string_view>

namespace kovin::definition_parts {

/// The two forms of a file; they differ in small things that readers of all versions cope with.
struct Form {
    bool save_command = true;
    int contact_digits = 2;  ///< of masses at a contact
    int layer_mass = 13;     ///< width of the masses of a layer
    std::string_view yn = " (0: no tunneling, 1: with tunneling)";
};
constexpr Form saved_form{};
constexpr Form plain_form{.save_command = false, .contact_digits = 4, .layer_mass = 12, .yn = ""};

[[nodiscard]] std::string flag_text(bool flag);

/// One graded quantity: seven numbers, law, dependence, grading file.
[[nodiscard]] std::string ProfileToOutputLine(const Profile& p, std::string_view name, std::string_view unit,
                                              bool in_powers, int width, int digits);

/// Keyword of a density, which tells what it is graded on.
[[nodiscard]] std::string with_dependence(std::string_view word, Dependence dependence);

/// @param first  of its layer
void add_bulk_defect(std::string& out, const std::array<BulkRecombinationParameters, max_levels>& levels, bool first);
void add_metastable(std::string& out, const MetaStableDefectParameters& pair, int number);
void add_interface(std::string& out, const InterfaceParameters& interface, const Form& form);

}  // namespace kovin::definition_parts
