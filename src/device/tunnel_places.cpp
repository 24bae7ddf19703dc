#include "device/tunnel_places.h"

#include <algorithm>

namespace kovin {

bool TunnelPlaces::any() const
{
    const auto on = [](bool open) { return open; };
    return left.open || right.open || interface_states ||
           std::any_of(interface.begin(), interface.end(), [](const TunnelPlace& p) { return p.open; }) ||
           std::any_of(barrier.begin(), barrier.end(), on) || std::any_of(band_to_band.begin(), band_to_band.end(), on);
}

bool tunnels_into(const InterfaceRecombinationParameters& states, const ConvergenceParameters& settings)
{
    if (settings.tunnel_paths == 1) return false;
    return settings.tunnel_paths == 0 || (settings.Tunneliface_allowed != 0 && states.tunneling);
}

TunnelPlaces tunnel_places(const CellParameters& cell, const ConvergenceParameters& settings)
{
    TunnelPlaces places;
    if (settings.tunnel_paths == 1) return places;
    const bool all = settings.tunnel_paths == 0;
    const bool contact = all || settings.Tunnelcontact_allowed != 0;
    const bool intraband = all || settings.Tunnelintraband_allowed != 0;
    const bool band_to_band = all || settings.TunnelBtoB_allowed != 0;
    places.left = {contact && (all || cell.left.tunneling), cell.left.m_e, cell.left.m_h};
    places.right = {contact && (all || cell.right.tunneling), cell.right.m_e, cell.right.m_h};
    for (std::size_t j = 0; j < static_cast<std::size_t>(cell.layers); ++j) {
        const bool here = all || cell.layer[j].material.tunneling;
        places.barrier[j] = intraband && here;
        places.band_to_band[j] = band_to_band && here;
        if (j + 1 == static_cast<std::size_t>(cell.layers)) break;
        const InterfaceParameters& interface = cell.interfaces[j];
        places.interface[j] = {intraband && (all || interface.tunneling), interface.m_e, interface.m_h};
        for (std::size_t d = 0; d < static_cast<std::size_t>(interface.defect_count); ++d)
            places.interface_states = places.interface_states || tunnels_into(interface.defects[d], settings);
    }
    return places;
}

}  // namespace kovin
