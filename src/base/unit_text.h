// Units as people write them: "[m/s]", "1/cm^3", "cm-3", "m^2/Vs", "/(m*sqrt(eV))".
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace kovin {

/// A unit in powers of its parts.
struct Unit {
    double scale = 1.0;             ///< in m, s, eV, V, ...: 0.01 for "cm", and for "%"
    std::array<double, 9> power{};  ///< of m, s, eV, V, K, degrees Celsius, Ohm, A, W

    [[nodiscard]] bool same_kind(const Unit& other) const { return power == other.power; }
    [[nodiscard]] bool operator==(const Unit& other) const;  ///< kind, and scale but for rounding
};

/// The unit that the whole text stands for; "-" and "1" are without dimension. Prefixes G to p; powers as "^-3", "**2",
/// "3" or raised digits; behind a stroke everything divides. Nothing if any part of the text is none.
[[nodiscard]] std::optional<Unit> unit_of_text(std::string_view text);

}  // namespace kovin
