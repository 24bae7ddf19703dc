// Keywords of action lists: the same rows serve reader and writer.
#pragma once

#include "base/constants.h"
#include "device/keyed_rows.h"
#include "device/work_point.h"

#include <string_view>
#include <utility>

namespace kovin::action_tables {

inline constexpr std::size_t line_limit = 119;
inline constexpr std::string_view second_prefix = "Secondworkpoint ";
inline constexpr Limits points = {0, MAX_NUM_CALCULATION_STEPS};
inline constexpr Limits volts = {-1000, 1000};

using W = WorkPoint;
inline constexpr KeyRow<W> condition_keys[] = {
    {.word = "Temperature", .real = &W::T, .limits = positive, .width = 8, .digits = 2, .unit = " K"},
    {.word = "Voltage", .real = &W::V, .limits = volts, .width = 10, .digits = 4, .unit = " V"},
    {.word = "Frequency",
     .real = &W::frequency,
     .limits = positive,
     .width = 12,
     .digits = 4,
     .scientific = true,
     .unit = " Hz"},
    {.word = "Number of points", .whole = &W::numberOfPoints, .limits = points, .width = 3},
    {.word = "dark", .flag = &W::dark},
};
inline constexpr KeyRow<W> light_keys[] = {
    {.word = "spectrum cut off", .flag = &W::cutOff},
    {.word = "short wavelength cut off",
     .real = &W::lambdaShort,
     .limits = positive,
     .width = 8,
     .digits = 2,
     .unit = " nm"},
    {.word = "long wavelength cut off",
     .real = &W::lambdaLong,
     .limits = positive,
     .width = 8,
     .digits = 2,
     .unit = " nm"},
    {.word = "neutral density", .real = &W::neutralDensity, .limits = {-20, 300}, .width = 10, .digits = 4},
    // "transmission" stands here: it is written beside the density and read only without it.
    {.word = "attenuation", .real = &W::attenuation, .limits = not_negative, .width = 10, .digits = 4, .unit = " %"},
};
/// Files of older versions also hold these; the switch of the shunt has the name of its resistance.
inline constexpr KeyRow<W> old_keys[] = {
    {.word = "Rs present :", .flag = &W::RsPresent},
    {.word = "Rsh present :", .flag = &W::GshPresent},
};

/// One measurement: its lines, the written increment between two points, its switch.
using A = ActionList;
inline constexpr KeyRow<A> iv_keys[] = {
    {.word = "IV_startV", .real = &A::IV_startV, .limits = volts, .width = 10, .digits = 4, .unit = " V"},
    {.word = "IV_stopV", .real = &A::IV_stopV, .limits = volts, .width = 10, .digits = 4, .unit = " V"},
    {.word = "IV_points", .whole = &A::IV_points, .limits = points, .width = 3},
};
inline constexpr KeyRow<A> iv_switches[] = {
    {.word = "IV_calculate", .flag = &A::IV_calculate},
    {.word = "stop after Voc", .flag = &A::stopAfterVoc},
};
inline constexpr KeyRow<A> cv_keys[] = {
    {.word = "CV_startV", .real = &A::CV_startV, .limits = volts, .width = 10, .digits = 4, .unit = " V"},
    {.word = "CV_stopV", .real = &A::CV_stopV, .limits = volts, .width = 10, .digits = 4, .unit = " V"},
    {.word = "CV_points", .whole = &A::CV_points, .limits = points, .width = 3},
};
inline constexpr KeyRow<A> cv_switches[] = {
    {.word = "CV_calculate", .flag = &A::CV_calculate},
    {.word = "MIS CV_calculate", .flag = &A::MIS_CV_calculate},
};
inline constexpr KeyRow<A> cf_keys[] = {
    {.word = "Cf_startf",
     .real = &A::Cf_startf,
     .limits = positive,
     .width = 12,
     .digits = 3,
     .scientific = true,
     .unit = " Hz"},
    {.word = "Cf_stopf",
     .real = &A::Cf_stopf,
     .limits = positive,
     .width = 12,
     .digits = 3,
     .scientific = true,
     .unit = " Hz"},
    {.word = "Cf_total points", .whole = &A::Cf_points, .limits = points, .width = 3},
};
inline constexpr KeyRow<A> cf_switches[] = {{.word = "Cf_calculate", .flag = &A::Cf_calculate}};
inline constexpr KeyRow<A> qe_keys[] = {
    {.word = "QE_startlambda", .real = &A::QE_startlambda, .limits = positive, .width = 8, .digits = 2, .unit = " nm"},
    {.word = "QE_stoplambda", .real = &A::QE_stoplambda, .limits = positive, .width = 8, .digits = 2, .unit = " nm"},
    {.word = "QE_points", .whole = &A::QE_points, .limits = points, .width = 3},
};
inline constexpr KeyRow<A> qe_switches[] = {{.word = "QE_calculate", .flag = &A::QE_calculate}};
inline constexpr KeyRow<A> pause_switches[] = {{.word = "pause", .flag = &A::pause}};

/// Written beside the number of points, and never read.
inline constexpr std::string_view written_only[] = {"IV_increment", "CV_increment", "Cf_points per decade",
                                                    "QE_increment"};

/// Names of the models in settings files.
inline constexpr std::pair<std::string_view, int> model_words[] = {
    {"white spectrum constant flux", 41},
    {"white spectrum constant power", 42},
    {"black body spectrum", 43},
    {"monochromatic spectrum constant flux", 44},
    {"monochromatic spectrum constant power", 45},
    {"constant generation", 21},
    {"exponential decaying G(x), from left", 22},
    {"exponential decaying G(x), from right", 23},
    {"rectangular generation G(x)", 24},
    {"gaussian generation G(x)", 25},
    {"rectangular G(x) exponential tails", 26},
    {"rectangular G(x) gaussian tails", 27},
};

}  // namespace kovin::action_tables
