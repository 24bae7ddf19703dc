#include "base/unit_text.h"

#include "base/text_scan.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace kovin {

namespace {

struct Name {
    std::string_view text;
    std::size_t part;  ///< place in Unit::power
    double scale, power = 1.0;
};
constexpr Name names[] = {
    {"m", 0, 1.0},   {"Angstrom", 0, 1e-10}, {"s", 1, 1.0},       {"Hz", 1, 1.0, -1.0}, {"eV", 2, 1.0},
    {"V", 3, 1.0},   {"K", 4, 1.0},          {"\u00b0C", 5, 1.0}, {"C", 5, 1.0},        {"Ohm", 6, 1.0},
    {"ohm", 6, 1.0}, {"S", 6, 1.0, -1.0},    {"A", 7, 1.0},       {"W", 8, 1.0},
};
constexpr std::pair<char, double> prefixes[] = {{'G', 1e9},  {'M', 1e6},  {'k', 1e3},  {'c', 1e-2},
                                                {'m', 1e-3}, {'u', 1e-6}, {'n', 1e-9}, {'p', 1e-12}};

/// Signs beyond ASCII that units have.
std::string plain(std::string_view text)
{
    constexpr std::pair<std::string_view, std::string_view> signs[] = {
        {"\u207b", "-"}, {"\u00b9", "1"}, {"\u00b2", "2"}, {"\u00b3", "3"},   {"\u2074", "4"},        {"\u2076", "6"},
        {"\u00b7", "*"}, {"\u00b5", "u"}, {"\u03bc", "u"}, {"\u03a9", "Ohm"}, {"sqrt(eV)", "eV^0.5"}, {"**", "^"}};
    std::string result(text);
    for (const auto& [sign, written] : signs)
        for (auto at = result.find(sign); at != std::string::npos; at = result.find(sign, at))
            result.replace(at, sign.size(), written);
    return result;
}

constexpr bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c < 0; }

/// A word of units: one with or without a prefix, or two side by side ("Vs"). @return parts, none if it is no unit
std::array<Name, 2> parts_of(std::string_view word)
{
    const auto name = [](std::string_view text) -> Name {
        const auto* row =
            std::find_if(std::begin(names), std::end(names), [&](const Name& n) { return n.text == text; });
        return row == std::end(names) ? Name{{}, 0, 0.0} : *row;
    };
    if (const Name whole = name(word); !whole.text.empty()) return {whole, Name{{}, 0, 0.0}};
    for (const auto& [prefix, factor] : prefixes)
        if (word.starts_with(prefix))
            if (Name rest = name(word.substr(1)); !rest.text.empty()) {
                rest.scale *= factor;
                return {rest, Name{{}, 0, 0.0}};
            }
    for (std::size_t i = 1; i < word.size(); ++i) {
        const Name left = name(word.substr(0, i)), right = name(word.substr(i));
        if (!left.text.empty() && !right.text.empty()) return {left, right};
    }
    return {};
}

}  // namespace

bool Unit::operator==(const Unit& other) const
{
    return same_kind(other) && std::abs(scale - other.scale) <= 1e-9 * std::abs(scale);
}

std::optional<Unit> unit_of_text(std::string_view given)
{
    const std::string text = plain(trimmed(given));
    if (text.empty()) return {};
    Unit unit;
    if (text == "-" || text == "1") return unit;
    double sign = 1.0;
    for (std::size_t i = text[0] == '1' ? 1 : 0; i < text.size();) {
        const char c = text[i];
        if (std::string_view(" \t*.()").find(c) != std::string_view::npos) {
            ++i;
        } else if (c == '/') {
            sign = -1.0;
            ++i;
        } else if (c == '%') {
            unit.scale *= std::pow(0.01, sign);
            ++i;
        } else if (is_letter(c)) {
            std::size_t end = i;
            while (end < text.size() && is_letter(text[end])) ++end;
            const auto parts = parts_of(std::string_view(text).substr(i, end - i));
            if (parts[0].text.empty()) return {};
            double power = 1.0;
            if (end < text.size() && text[end] == '^') ++end;
            if (end < text.size() && text[end] == '(') ++end;
            if (const NumberScan number = end < text.size() && text[end] != ' ' ? number_here(text, end) : NumberScan{};
                number.found && std::abs(number.value) <= 10.0) {
                power = number.value;
                end = number.end;
            }
            // A power belongs to the part in front of it.
            const std::size_t last = parts[1].text.empty() ? 0 : 1;
            for (std::size_t k = 0; k <= last; ++k) {
                const double times = sign * parts[k].power * (k == last ? power : 1.0);
                unit.power[parts[k].part] += times;
                unit.scale *= std::pow(parts[k].scale, sign * (k == last ? power : 1.0));
            }
            i = end;
        } else {
            return {};
        }
    }
    return unit;
}

}  // namespace kovin
