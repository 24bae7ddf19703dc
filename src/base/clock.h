// Date and time, so that a test can stand still.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace kovin {

struct DateTime {
    int day = 1, month = 1, year = 2000, hour = 0, minute = 0, second = 0;
};

/// Source of the present local time; replaced in tests.
struct Clock {
    std::function<DateTime()> now;  ///< never empty; the default asks the system
    Clock();
};

/// Time of the last change of a file; all zero if it is not there.
[[nodiscard]] DateTime file_date(const std::filesystem::path& file);

[[nodiscard]] std::string day_month_year(const DateTime& t);      ///< 07-11-2026
[[nodiscard]] std::string hour_minute_second(const DateTime& t);  ///< 09:05:00
[[nodiscard]] std::string date_at_time(const DateTime& t);        ///< "07-11-2026 at 09:05:00"

}  // namespace kovin
