// Where carriers may tunnel: the switches of the cell and the settings that open or close whole kinds of paths, in one.
#pragma once

#include "device/cell.h"
#include "device/numerical_settings.h"

#include <array>

namespace kovin {

/// A contact or an interface, with the relative masses of its own.
struct TunnelPlace {
    bool open = false;
    double m_e = 1.0, m_h = 1.0;
};

struct TunnelPlaces {
    TunnelPlace left, right;                            ///< between contact and semiconductor
    std::array<TunnelPlace, max_interfaces> interface;  ///< through the spike of a band at an interface
    std::array<bool, max_layers> barrier{};             ///< through a barrier inside the stack that ends in this layer
    std::array<bool, max_layers> band_to_band{};
    bool interface_states = false;  ///< into states of some interface, see tunnels_into

    /// Some path is open.
    [[nodiscard]] bool any() const;
};

/// Carriers may tunnel into these states.
[[nodiscard]] bool tunnels_into(const InterfaceRecombinationParameters& states, const ConvergenceParameters& settings);

/// @param settings  `tunnel_paths` 0 opens all kinds everywhere, 1 none; 2 leaves it to the switches of the cell, each
///                  kind of path with its setting ..._allowed
[[nodiscard]] TunnelPlaces tunnel_places(const CellParameters& cell, const ConvergenceParameters& settings);

}  // namespace kovin
