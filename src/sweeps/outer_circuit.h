// What lies between the device and the terminals: a shunt conductance across the device, a resistance in series with
// both. The device is solved without them.
#pragma once

#include "base/complex_value.h"
#include "device/work_point.h"
#include "solver/small_signal.h"

namespace kovin {

/// Resistances around the device; 0: there is none.
struct OuterCircuit {
    double Rs = 0.0;   ///< in series [ohm m2]
    double Gsh = 0.0;  ///< across the device [S/m2]
};
[[nodiscard]] inline OuterCircuit outer_circuit(const WorkPoint& wp)
{
    return {wp.RsPresent ? wp.Rs : 0.0, wp.GshPresent ? wp.Gsh : 0.0};
}

/// What the terminals have at DC.
struct TerminalPoint {
    double V;  ///< [V]
    double J;  ///< [mA/cm2]
};
/// @param v_cell  over the device [V]
/// @param J       through it [mA/cm2]
[[nodiscard]] constexpr TerminalPoint at_terminals(double v_cell, double J, const OuterCircuit& circuit)
{
    const double total = J + v_cell * circuit.Gsh * 0.1;  // A/m2 -> mA/cm2
    return {v_cell + circuit.Rs * total * 10.0, total};
}

/// Admittance at the terminals of a device with admittance G + i omega C.
///
///     Y = (Y_device + Gsh) / (1 + Rs (Y_device + Gsh))
///
/// @param omega_us  angular frequency > 0 [1/s]
[[nodiscard]] constexpr Admittance at_terminals(const Admittance& device, double omega_us, const OuterCircuit& circuit)
{
    const Complex Y{device.G + circuit.Gsh, omega_us * device.C};
    if (circuit.Rs == 0.0) return {Y.re, device.C};
    const Complex seen = Y * inverse(Complex{1.0, 0.0} + circuit.Rs * Y);
    return {seen.re, seen.im / omega_us};
}

/// Impedance 1/(G + i omega C) [ohm m2]; 0 where nothing flows.
[[nodiscard]] constexpr Complex impedance(const Admittance& Y, double omega_us)
{
    if (Y.G == 0.0 && Y.C == 0.0) return {};
    return inverse({Y.G, omega_us * Y.C});
}

}  // namespace kovin
