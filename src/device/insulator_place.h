// Where the insulator of a metal-insulator-semiconductor structure lies: what the stack of layers alone tells.
#pragma once

#include "device/cell.h"

#include <cstddef>
#include <optional>
#include <span>

namespace kovin {

/// Layers and interfaces from 0.
struct InsulatorPlace {
    std::size_t interface = 0;        ///< that no carrier passes, between the layer of this number and the next
    std::size_t first = 0, last = 0;  ///< layers of the insulator, on one side of that interface
};

/// The insulator is a row of neighbouring electrical interlayers; it belongs to the contact that it lies at, or else to
/// the right one.
/// @param layers  those of the cell, from the left
/// @return nothing if there is none, no second layer, or another insulator behind a semiconductor: no contact gives
///         what lies between two of them its level
[[nodiscard]] std::optional<InsulatorPlace> place_of_insulator(std::span<const LayerParameters> layers);

/// What a stack without such a place lacks, as half a sentence.
inline constexpr const char* no_place_of_insulator =
    "it takes one electrical interlayer (\"functional type\" 2 or 3), or several that touch, beside another layer";

}  // namespace kovin
