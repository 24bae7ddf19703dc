#include "device/work_point.h"

#include "device/model_table.h"

namespace kovin {

WorkPoint InitialiseWorkPoint()
{
    WorkPoint point;
    point.spectrumModel = model_of_number(42);
    point.spectrumModel.name = "analytical model for the spectrum";
    point.generationModel = model_of_number(21);
    point.generationModel.name = "analytical model for the generation G(x)";
    return point;
}

ActionPanel InitialiseActionPanel()
{
    return {.workPoint = InitialiseWorkPoint(),
            .secondWorkPoint = InitialiseWorkPoint(),
            .second_is_given = false,
            .actions = {}};
}

}  // namespace kovin
