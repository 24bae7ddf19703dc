// Default values of every record of a cell, in the SI units of definition files.
#pragma once

#include "device/cell.h"
#include "device/numerical_settings.h"

namespace kovin {

void InitialiseProfile(Profile& profile);
void InitialiseMaterialParameters(MaterialParameters& material, int layer);
void InitialiseOpticalCaptureProperties(OpticalCaptureProperties& capture);
void InitialiseBulkRecombinationParameters(BulkRecombinationParameters& level, int layer, int defect, int level_number);
void InitialiseMetaStableDefectParameters(MetaStableDefectParameters& pair, int layer, int number);
void InitialiseLayerParameters(LayerParameters& layer, int number, bool is_new);
void InitialiseInterfaceRecombinationParameters(InterfaceRecombinationParameters& defect, int interface_number,
                                                int number);
void InitialiseInterfaceParameters(InterfaceParameters& interface, int number);
/// @param side -1 left, +1 right
void InitialiseContactParameters(ContactParameters& contact, int side);
void InitialiseCellDefinition(CellParameters& cell);

/// Writes thickness and number of the layer into every profile of it.
void UpdateThicknessInProfiles_Layer(LayerParameters& layer);
void UpdateThicknessInProfiles_Cell(CellParameters& cell);

}  // namespace kovin
