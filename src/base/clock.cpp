#include "base/clock.h"

#include "base/text_format.h"

#include <sys/stat.h>

#include <ctime>

namespace kovin {

namespace {

DateTime local(std::time_t time)
{
    std::tm parts{};
    if (!::localtime_r(&time, &parts)) return {0, 0, 0, 0, 0, 0};
    return {parts.tm_mday, parts.tm_mon + 1, parts.tm_year + 1900, parts.tm_hour, parts.tm_min, parts.tm_sec};
}

}  // namespace

Clock::Clock() : now([] { return local(std::time(nullptr)); }) {}

DateTime file_date(const std::filesystem::path& file)
{
    struct stat about {};
    if (::stat(file.c_str(), &about) != 0) return {0, 0, 0, 0, 0, 0};
    return local(about.st_mtime);
}

std::string day_month_year(const DateTime& t)
{
    return integer(t.day, 2, '0') + '-' + integer(t.month, 2, '0') + '-' + integer(t.year, 4);
}

std::string hour_minute_second(const DateTime& t)
{
    return integer(t.hour, 2, '0') + ':' + integer(t.minute, 2, '0') + ':' + integer(t.second, 2, '0');
}

std::string date_at_time(const DateTime& t) { return day_month_year(t) + " at " + hour_minute_second(t); }

}  // namespace kovin
