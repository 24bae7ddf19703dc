#include "device/keyed_source.h"

#include "base/text_format.h"
#include "base/text_scan.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

constexpr bool is_digit(char c) { return c >= '0' && c <= '9'; }
constexpr bool is_word(char c) { return is_digit(c) || c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

constexpr bool is_foreign(char c) { return static_cast<unsigned char>(c) >= 128; }
constexpr std::string_view spaces = " \t";
constexpr const char* number_expected = "a number is expected, written as 2e24 or -0.5";

/// `text` from the first character on that is none of `passed`.
std::string_view behind(std::string_view text, std::string_view passed)
{
    return text.substr(std::min(text.find_first_not_of(passed), text.size()));
}

/// In front of a number: an equals sign, a unit in brackets.
std::string_view number_part(std::string_view text)
{
    text = behind(text, " \t=");
    while (text.starts_with('[') || text.starts_with('(')) {
        const auto end = text.find(text[0] == '[' ? ']' : ')');
        if (end == std::string_view::npos) break;
        text = behind(text.substr(end + 1), " \t=");
    }
    return text;
}

/// A factor or a power stands apart behind a number: "* 10^24", "x 1e24", a times sign, "e24", "10^24", "^24".
bool is_factor(std::string_view rest)
{
    rest = behind(rest, spaces);
    if (rest.empty()) return false;
    const auto ends = [](std::string_view text) { return text.empty() || text.find_first_of(" \t[(;^*") == 0; };
    if (const NumberScan number = number_here(rest); number.found && rest.substr(number.end).starts_with('^'))
        return true;
    switch (rest[0]) {
        case '^':
            return true;
        case '*':
            return number_here(behind(rest, " \t*")).found;
        case 'x':
        case 'X': {
            const std::string_view factor = rest.substr(1);
            const NumberScan number = number_here(factor);
            return number.found && ends(factor.substr(number.end));
        }
        case 'e':
        case 'E': {
            std::string_view power = rest.substr(1);
            if (power.starts_with('+') || power.starts_with('-')) power.remove_prefix(1);
            return !power.empty() && is_digit(power[0]) && ends(behind(power, "0123456789"));
        }
        default:
            break;
    }
    // A times sign or another sign of minus than the hyphen; a tolerance may follow.
    const auto letters = std::find_if_not(rest.begin(), rest.end(), is_foreign);
    const bool tolerance = rest.starts_with("\xC2\xB1") || rest.starts_with("\xB1");
    return letters != rest.begin() && !tolerance &&
           number_here(rest.substr(static_cast<std::size_t>(letters - rest.begin()))).found;
}

/// What stands behind a number shows that it was not all of it: besides a factor "2*10", "10^24", "1,5", "1'000",
/// "1/2", "2e 24". A unit or a remark does not.
bool is_part_of_more(std::string_view rest)
{
    if (rest.empty()) return false;
    const auto digit_at = [&](std::size_t i) { return i < rest.size() && is_digit(rest[i]); };
    switch (rest[0]) {
        case '*':
        case '^':
        case '_':
        case '\'':
            return true;
        case ',':
        case '/':
        case '+':
        case '-':
            return digit_at(1);
        case 'e':
        case 'E':
            return rest.size() == 1 || !is_word(rest[1]);
        default:
            return is_foreign(rest[0]) || is_factor(rest);
    }
}

/// Another number of a row follows, not a unit or a remark.
bool number_follows(std::string_view rest)
{
    rest = behind(rest, " \t,");
    if (rest.starts_with('+') || rest.starts_with('-')) rest.remove_prefix(1);
    if (rest.starts_with('.')) rest.remove_prefix(1);
    return !rest.empty() && is_digit(rest[0]);
}

/// Lines of a text that a watch takes down; no file that means something is longer.
constexpr std::size_t most_noted = 100000;

/// Bytes of a message: what a terminal could take for a command is left out.
std::string printable(std::string_view text, std::size_t most = 80)
{
    std::string result(text.substr(0, most));
    for (char& c : result)
        if (static_cast<unsigned char>(c) < 32 || c == 127) c = ' ';
    return result;
}

}  // namespace

void LineWatch::find(int line, const std::string& text)
{
    constexpr std::size_t most = 1000;
    if (findings.size() < most)
        findings.push_back({line, text});
    else if (findings.size() == most)
        findings.push_back({line, "there is more; it is not listed"});
}

KeyedSource::KeyedSource(Report& report, std::string title, std::string name, std::string text, std::size_t limit,
                         std::vector<std::string>* remarks)
    : report_(report),
      title_(std::move(title)),
      name_(std::move(name)),
      reader_(std::move(text), limit),
      remarks_{remarks, most_remarks}
{
}

bool KeyedSource::next()
{
    if (watch_) settle();
    if (failed_) return false;
    const bool found = reader_.ReadNonEmptyNonCommentLine(line_, &remarks_);
    if (found) line_.erase(0, line_.find_first_not_of(" \t\v\f"));
    if (remarks_.dropped && !remarks_told_) {
        remarks_told_ = true;
        tell("more than " + integer(static_cast<long>(most_remarks)) + " comments; those behind are not kept");
    }
    return found;
}

bool KeyedSource::must_go_on()
{
    if (next()) return true;
    line_.clear();
    return fail({}, "The def-file is empty or incomplete.");
}

std::size_t KeyedSource::behind_key(std::string_view key, bool exactly) const
{
    const auto fits = [&](std::string_view start) {
        return exactly ? line_.starts_with(start) : starts_with_ignoring_case(line_, start);
    };
    if (!key.ends_with(" :")) return fits(key) ? key.size() : std::string::npos;
    const std::string_view word = key.substr(0, key.size() - 2);
    if (!fits(word)) return std::string::npos;
    const std::size_t colon = line_.find_first_not_of(spaces, word.size());
    return colon != std::string::npos && line_[colon] == ':' ? colon + 1 : std::string::npos;
}

bool KeyedSource::starts(std::string_view key) const
{
    return noted(key, behind_key(key, false) != std::string::npos, true);
}
bool KeyedSource::starts_exactly(std::string_view key) const
{
    return noted(key, behind_key(key, true) != std::string::npos, true);
}
bool KeyedSource::anywhere(std::string_view word) const
{
    return noted(word, find_ignoring_case(line_, word) != std::string_view::npos, false);
}

bool KeyedSource::section(std::string_view word) const
{
    if (starts_with_ignoring_case(line_, "name") || starts_with_ignoring_case(line_, "interfacename")) return false;
    const std::string_view head = std::string_view(line_).substr(0, line_.find(':'));
    return noted(word, find_ignoring_case(head, word) != std::string_view::npos, false);
}

bool KeyedSource::noted(std::string_view key, bool found, bool at_start) const
{
    if (!watch_) return found;
    if (!found) {
        asked_.emplace_back(key);
    } else if (key.size() > taken_.size()) {
        taken_ = key;
        taken_at_start_ = at_start;
    }
    return found;
}

void KeyedSource::settle()
{
    const auto find = [&](const std::string& text) { watch_->find(reader_.line_number(), text); };
    if (line_.empty() || failed_) return;
    const std::string_view head = trimmed(std::string_view(line_).substr(0, line_.find(':')));
    if (taken_.empty()) {
        // A file of another kind has thousands of such lines; nobody reads that many suggestions.
        const std::string_view nearest =
            watch_->findings.size() < 200 ? nearest_word(head, asked_) : std::string_view();
        find("unknown line \"" + printable(head) + '"' +
             (nearest.empty() ? "" : "; did you mean \"" + std::string(nearest) + "\"?"));
    } else {
        const std::size_t rest = std::min(behind_key(taken_, false), line_.size());
        if (watch_->known.size() < most_noted)
            watch_->known.push_back({reader_.line_number(), taken_, printable(line_.substr(rest), line_.size())});
        if (taken_at_start_ && only_begins(taken_)) find('"' + printable(head) + "\" is read as \"" + taken_ + '"');
    }
    taken_.clear();
    asked_.clear();
    line_.clear();
}

void KeyedSource::find_rest(const std::string& why)
{
    while (watch_ && next()) {
        watch_->find(reader_.line_number(), why);
        line_.clear();
    }
}

bool KeyedSource::only_begins(std::string_view key) const
{
    const std::size_t end = key.size();
    return end > 0 && end < line_.size() && is_word(line_[end]) && is_word(line_[end - 1]);
}

void KeyedSource::note_file(const std::string& name)
{
    if (watch_ && !name.empty() && watch_->files.size() < most_noted)
        watch_->files.push_back({reader_.line_number(), name});
}

bool KeyedSource::refuse(std::string_view key, const std::string& why)
{
    if (only_begins(key)) {
        not_known();
        return false;
    }
    const bool goes_on = watch_ && !failed_;
    fail(key, why);
    if (goes_on) failed_ = false;
    return false;
}

bool KeyedSource::fail(std::string_view key, const std::string& why)
{
    if (failed_) return false;
    failed_ = true;
    const std::string text = key.empty() ? std::string() : quoted(key) + ": ";
    if (watch_)
        watch_->find(reader_.line_number(), text + why);
    else
        KOVINErrorMessage(report_, title_, name_ + ", line " + integer(reader_.line_number()) + ": " + text + why);
    return false;
}

std::string KeyedSource::quoted(std::string_view key) const
{
    const std::string_view text = value(key);
    return std::string(key) + (text.empty() ? "" : " = \"" + printable(text) + '"');
}

void KeyedSource::tell(const std::string& what, int line)
{
    if (line == 0) line = line_number();
    if (watch_)
        watch_->find(line, what);
    else
        KOVINErrorMessage(report_, "Warning", name_ + ", line " + integer(line) + ": " + what);
}

std::string_view KeyedSource::value(std::string_view key) const
{
    const std::size_t start = behind_key(key, false);
    std::string_view rest = std::string_view(line_).substr(std::min(start, line_.size()));
    if (start == std::string::npos) rest = std::string_view(line_).substr(std::min(key.size(), line_.size()));
    if (const auto colon = rest.find(':'); colon != std::string_view::npos && !key.ends_with(':'))
        rest.remove_prefix(colon + 1);
    return trimmed(rest);
}

std::string KeyedSource::text(std::string_view key, std::size_t length) const
{
    return std::string(trimmed(value(key).substr(0, length)));
}

std::string KeyedSource::file_name(std::string_view key)
{
    std::string name(value(key));
    std::replace(name.begin(), name.end(), '\\', '/');
    note_file(name);
    return name;
}

bool KeyedSource::leading_number(std::string_view key, std::string_view text, double& found, std::size_t& end)
{
    const std::string_view part = number_part(text);
    const NumberScan scan = number_here(part);
    if (scan.found && !scan.finite) return refuse(key, "the number is out of range");
    if (!scan.found || is_part_of_more(part.substr(scan.end))) return refuse(key, number_expected);
    found = scan.value;
    end = text.size() - part.size() + scan.end;
    return true;
}

bool KeyedSource::number(std::string_view key, double& target, const Limits& limits)
{
    double found = 0.0;
    std::size_t end = 0;
    if (!leading_number(key, value(key), found, end)) return false;
    if (!limits.hold(found)) return refuse(key, "the value is outside its range");
    target = found;
    return true;
}

bool KeyedSource::whole(std::string_view key, int& target, int low, int high)
{
    double found = 0.0;
    if (!number(key, found)) return false;
    if (found != std::floor(found)) return refuse(key, "a whole number is expected");
    if (found < low || found > high)
        return refuse(key, "the value must lie between " + integer(low) + " and " + integer(high));
    target = static_cast<int>(found);
    return true;
}

bool KeyedSource::flag(std::string_view key, bool& target)
{
    int found = 0;
    if (!whole(key, found, 0, 1)) return false;
    target = found != 0;
    return true;
}

bool KeyedSource::numbers(std::string_view key, std::size_t most, std::vector<double>& found, std::size_t& rest)
{
    const std::string_view text = value(key);
    found.clear();
    rest = 0;
    while (found.size() < most && (found.empty() || number_follows(text.substr(rest)))) {
        const std::size_t start = rest + (found.empty() ? 0 : text.find_first_not_of(" \t,", rest) - rest);
        double one = 0.0;
        std::size_t end = 0;
        if (!leading_number(key, text.substr(start), one, end)) return false;
        found.push_back(one);
        rest = start + end;
    }
    return true;
}

bool KeyedSource::last_word(std::string_view key, const std::string_view* words, std::size_t count, int& target)
{
    int found = -1;
    const std::string_view rest = std::string_view(line_).substr(std::min(key.size(), line_.size()));
    for (std::size_t i = 0; i < count; ++i)
        if (find_ignoring_case(rest, words[i]) != std::string_view::npos) found = static_cast<int>(i);
    if (found < 0) return refuse(key, "the word is not known");
    target = found;
    return true;
}

}  // namespace kovin
