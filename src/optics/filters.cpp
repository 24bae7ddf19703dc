#include "optics/filters.h"

#include "base/interpolate.h"
#include "base/text_format.h"
#include "base/two_column_file.h"
#include "device/column_check.h"

#include <algorithm>

namespace kovin {

namespace {

/// Values of a filter file [%] at the wavelengths, continued linearly beyond the file and forced into 0 to 100.
bool ReadFilterValues(Surroundings& surroundings, const std::string& path, const std::vector<double>& lambda,
                      std::vector<double>& values)
{
    const int count = CountLinesInFile(surroundings, path, FileKind::filter);
    if (count < 1) return false;
    if (count > MAX_NUMBER_OF_INPUT_POINTS) {
        KOVINErrorMessage(surroundings.report, "Error in function ReadFilterValues()",
                          "The filter value file '" + path + "' contains too many (" + std::to_string(count) + " > " +
                              std::to_string(MAX_NUMBER_OF_INPUT_POINTS) + ") different wavelengths.");
        return false;
    }
    TwoColumns rows;
    if (ReadKOVINFile(surroundings, path, FileKind::filter, 1, false, rows) < 1) return false;
    if (filter_looks_like_fractions(*std::max_element(rows.y.begin(), rows.y.end())))
        KOVINErrorMessage(surroundings.report, "Warning: unit of a filter file",
                          path + ": " + std::string(filter_of_fractions));

    double forced_low = 0.0, forced_high = 0.0;  // range of the wavelengths that had to be forced
    bool forced = false;
    values.resize(lambda.size());
    for (std::size_t k = 0; k < lambda.size(); ++k) {
        double value = 0.0;
        LinearInterpolation(rows.x, rows.y, lambda[k], value);
        values[k] = std::clamp(value, 0.0, 100.0);
        if (values[k] == value) continue;
        if (!forced) forced_low = lambda[k];
        forced_high = lambda[k];
        forced = true;
    }
    if (forced && surroundings.report.InterpolationWarningMessageMode == 1)
        KOVINErrorMessage(surroundings.report, "Warning from Function ReadFilterValues()",
                          "Filter file: " + path + "\nExtrapolating R or T in wavelength range (" +
                              fixed(forced_low, 7, 1) + "," + fixed(forced_high, 7, 1) +
                              ")\nExtrapolated values outside interval(0,1) were forced into (0,1)"
                              "\nConsider checking and editing this input file");
    return true;
}

/// Filter of one contact as a fraction: what is wanted, or one minus the other kind.
bool filter_of(Surroundings& surroundings, const ContactParameters& contact, bool want_transmission,
               const std::vector<double>& lambda, std::vector<double>& values)
{
    if (!contact.filter) {
        values.assign(lambda.size(), want_transmission ? 1.0 : 0.0);
        return true;
    }
    if (contact.filter_constant)
        values.assign(lambda.size(), contact.filter_value * 100.0);
    else if (!ReadFilterValues(surroundings, contact.filter_file, lambda, values))
        return false;
    const bool as_wanted = contact.filter_transmission == want_transmission;
    for (double& value : values) value = as_wanted ? value * 0.01 : 1.0 - value * 0.01;
    return true;
}

}  // namespace

bool BerekenFilterSpectra(Surroundings& surroundings, const CellParameters& cell, GenerationParameters& gp)
{
    std::vector<double> left, right;
    const bool light_right = gp.side == 1;
    if (!filter_of(surroundings, cell.left, !light_right, gp.lambda, left)) return false;
    if (!filter_of(surroundings, cell.right, light_right, gp.lambda, right)) return false;
    gp.leftFilter = std::move(left);
    gp.rightFilter = std::move(right);
    return true;
}

}  // namespace kovin
