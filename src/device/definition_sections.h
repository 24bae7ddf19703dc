// The parts of a definition reader; definition_reader.cpp calls them in the order of the file.
//
// Each is called with its section line as the present line and leaves the first line behind the section as the
// present one. After a fault the source gives no more lines and `failed()` tells so.
#pragma once

#include "device/charge_states.h"
#include "device/definition.h"
#include "device/keyed_source.h"

#include <string>
#include <vector>

namespace kovin::definition_sections {

/// What is read, and what is known only while it is read.
struct Reading {
    KeyedSource& source;
    Definition& definition;
    bool old_tunnel_rules = true;  ///< no line on the switches of tunnelling yet: each path that is met switches it on
    InterfaceParameters beyond_last{};  ///< takes what stands behind the last layer that there is room for
    int interface_line = 0;             ///< where the last section on interface defects begins

    [[nodiscard]] CellParameters& cell() const { return definition.input.cell.cell; }
    [[nodiscard]] LayerParameters& layer() const { return cell().layer[static_cast<std::size_t>(cell().layers - 1)]; }
    /// What stands behind a layer, from 0: read before it is known whether another layer follows.
    [[nodiscard]] InterfaceParameters& interface_behind(int layer);
    /// Under the old rules a switch of tunnelling in the cell opens the path as well.
    void open_path(bool used, int ConvergenceParameters::*path);
};

/// Reads a profile in any of its forms: one value, 7, 8 or 9 numbers, file name behind them under Law::from_file.
/// @return true if it was stored
bool InputLineToProfile(KeyedSource& source, std::string_view key, Profile& profile);

/// A line that ends every section of a layer.
[[nodiscard]] bool ends_section(const KeyedSource& source);

/// One number for each of `levels` levels. @return false after a fault
bool read_per_level(KeyedSource& source, std::string_view key, int levels, const Limits& limits,
                    std::vector<double>& values);

/// Distribution of a bulk or interface defect: "energy distribution : gauss". A tail whose band is not told waits for
/// the line on its type.
void read_energy_distribution(KeyedSource& source, EnergyDistribution& distribution);
/// The band of a tail as the oldest files name it: "tailtype : valenceband".
void read_tail_type(const KeyedSource& source, EnergyDistribution& distribution);

/// A line that gives a level optical capture.
struct CaptureLine {
    std::size_t level;  ///< from 0
    int line;
    std::string text;  ///< for a message
};
using CaptureLines = std::vector<CaptureLine>;
/// The present line if it is about optical capture. @return it was
bool read_optical_capture(Reading& reading, DefectLevels& levels, CaptureLines& met);
/// Tells the lines of levels that the defect does not have, which is known at its end.
void tell_capture_of_no_level(KeyedSource& source, const DefectLevels& levels, const CaptureLines& met);

void read_layer(Reading& reading);
void read_bulk_defects(Reading& reading);
void read_metastable(Reading& reading);
void read_interface_properties(Reading& reading);
void read_interface_defects(Reading& reading);

/// Builds the density profile from the fields of the oldest files, and those fields from the profile.
void CopyKOVIN27Data_to_NtProfile(BulkRecombinationParameters& level);
void CopyNtProfile_to_KOVIN27Data(BulkRecombinationParameters& level);

}  // namespace kovin::definition_sections
