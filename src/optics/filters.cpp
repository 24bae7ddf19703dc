#include "optics/filters.h"

#include "base/interpolate.h"
#include "base/text_format.h"
#include "base/two_column_file.h"
#include "device/column_check.h"

#include <algorithm>

namespace kovin {

namespace {

/// Rows of a filter file. @return false if it cannot be used (reported)
bool read_rows(Surroundings& surroundings, FilterCurve& filter)
{
    const std::string& path = filter.path;
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
    filter.lambda = std::move(rows.x);
    filter.values = std::move(rows.y);
    return true;
}

bool read_filter(Surroundings& surroundings, const ContactParameters& contact, FilterCurve& filter)
{
    filter = {};
    filter.present = contact.filter;
    filter.transmission = contact.filter_transmission;
    filter.constant = contact.filter_value * 100.0;
    if (!contact.filter || contact.filter_constant) return true;
    filter.path = contact.filter_file;
    return read_rows(surroundings, filter);
}

/// Values of the rows [%] at the wavelengths, continued linearly beyond them and forced into 0 to 100.
void interpolate(Surroundings& surroundings, FilterCurve& filter, const std::vector<double>& lambda,
                 std::vector<double>& values)
{
    double forced_low = 0.0, forced_high = 0.0;  // range of the wavelengths that had to be forced
    bool forced = false;
    values.resize(lambda.size());
    for (std::size_t k = 0; k < lambda.size(); ++k) {
        double value = 0.0;
        LinearInterpolation(filter.lambda, filter.values, lambda[k], value);
        values[k] = std::clamp(value, 0.0, 100.0);
        if (values[k] == value) continue;
        if (!forced) forced_low = lambda[k];
        forced_high = lambda[k];
        forced = true;
    }
    if (!forced || filter.range_told || surroundings.report.InterpolationWarningMessageMode != 1) return;
    filter.range_told = true;
    KOVINErrorMessage(surroundings.report, "Warning from Function ReadFilterValues()",
                      "Filter file: " + filter.path + "\nExtrapolating R or T in wavelength range (" +
                          fixed(forced_low, 7, 1) + "," + fixed(forced_high, 7, 1) +
                          ")\nExtrapolated values outside interval(0,1) were forced into (0,1)"
                          "\nConsider checking and editing this input file");
}

/// Filter of one contact as a fraction: what is wanted, or one minus the other kind.
void filter_of(Surroundings& surroundings, FilterCurve& filter, bool want_transmission,
               const std::vector<double>& lambda, std::vector<double>& values)
{
    if (!filter.present) {
        values.assign(lambda.size(), want_transmission ? 1.0 : 0.0);
        return;
    }
    if (filter.lambda.empty())
        values.assign(lambda.size(), filter.constant);
    else
        interpolate(surroundings, filter, lambda, values);
    const bool as_wanted = filter.transmission == want_transmission;
    for (double& value : values) value = as_wanted ? value * 0.01 : 1.0 - value * 0.01;
}

}  // namespace

bool read_filters(Surroundings& surroundings, const CellParameters& cell, ContactFilters& filters)
{
    return read_filter(surroundings, cell.left, filters.left) && read_filter(surroundings, cell.right, filters.right);
}

void filters_at_wavelengths(Surroundings& surroundings, ContactFilters& filters, GenerationParameters& gp)
{
    const bool light_right = gp.side == 1;
    filter_of(surroundings, filters.left, !light_right, gp.lambda, gp.leftFilter);
    filter_of(surroundings, filters.right, light_right, gp.lambda, gp.rightFilter);
}

bool BerekenFilterSpectra(Surroundings& surroundings, const CellParameters& cell, GenerationParameters& gp)
{
    ContactFilters filters;
    if (!read_filters(surroundings, cell, filters)) return false;
    gp.filters = std::move(filters);
    filters_at_wavelengths(surroundings, gp.filters, gp);
    return true;
}

}  // namespace kovin
