// A keyed text under the eyes of a reader: the present line, its number, and what to say when a value is no good.
//
// A line is a keyword, a colon (not always) and a value. The first fault is reported with file, line, keyword and
// value; from then on the source gives no more lines, so that every loop of a reader ends.
//
// Under a watch nothing is reported and a value that is no good does not end the reading: the watch takes down every
// fault, every line that no reader asked for, and which keyword was found where.
#pragma once

#include "base/line_file.h"
#include "base/report.h"

#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace kovin {

/// Numbers that a field accepts: low <= value <= high, or low < value if `above` is set.
struct Limits {
    double low = -std::numeric_limits<double>::max();
    double high = std::numeric_limits<double>::max();
    bool above = false;

    [[nodiscard]] constexpr bool hold(double value) const
    {
        return (above ? value > low : value >= low) && value <= high;
    }
};
inline constexpr Limits any_number{};
inline constexpr Limits positive{.low = 0.0, .above = true};
inline constexpr Limits not_negative{.low = 0.0};
inline constexpr Limits a_fraction{.low = 0.0, .high = 1.0};

/// What a reader made of a text, line by line.
struct LineWatch {
    struct Entry {
        int line;
        std::string text;
    };
    struct Known {
        int line;
        std::string text;  ///< the keyword under which it was taken
        std::string rest;  ///< what stands behind it
    };
    std::vector<Entry> findings;  ///< faults and lines that are not known
    std::vector<Known> known;     ///< lines that were taken
    std::vector<Entry> files;     ///< names of files

    /// Adds a finding; of a text that is full of them the first thousand.
    void find(int line, const std::string& text);
};

class KeyedSource {
public:
    static constexpr std::size_t most_remarks = 10000;

    /// @param title  of the messages
    /// @param name   of the file, for the messages
    /// @param limit    characters of a line that are read
    /// @param remarks  takes the comments, the first most_remarks of them; told if there are more
    KeyedSource(Report& report, std::string title, std::string name, std::string text, std::size_t limit,
                std::vector<std::string>* remarks = nullptr);

    /// From now on everything goes to `watch`, which must outlive the source.
    void set_watch(LineWatch* watch) { watch_ = watch; }
    /// The present line began like a known one but says nothing that is known.
    void not_known() { taken_.clear(); }
    /// Under a watch: every line that follows is a finding.
    void find_rest(const std::string& why);
    /// The name of a file that the present line holds.
    void note_file(const std::string& name);

    /// Goes to the next line that holds something and is no comment; false at the end and after a fault.
    [[nodiscard]] bool next();
    /// The same where the text may not end yet: the end is a fault.
    [[nodiscard]] bool must_go_on();

    [[nodiscard]] const std::string& line() const { return line_; }
    [[nodiscard]] int line_number() const { return reader_.line_number(); }  ///< from 1
    [[nodiscard]] bool failed() const { return failed_; }
    /// The line begins with the key, blanks in front of it apart, case ignored. Before the colon of a key that ends in
    /// " :" any number of blanks may stand.
    [[nodiscard]] bool starts(std::string_view key) const;
    [[nodiscard]] bool starts_exactly(std::string_view key) const;
    [[nodiscard]] bool anywhere(std::string_view word) const;  ///< case ignored
    /// A section word, anywhere in front of the colon and not on a line with a name: names are the user's.
    [[nodiscard]] bool section(std::string_view word) const;

    /// A value that is no good: reported, and under a watch the line is passed over. A line whose first word only
    /// begins like the key ("note" for N) is none of the key's: it is passed over in any case. @return false
    bool refuse(std::string_view key, const std::string& why);
    /// A text that cannot be read further: reported (the first fault only), no more lines. @return false
    bool fail(std::string_view key, const std::string& why);
    /// The line as messages name it: `key = "value"`, the key alone if there is no value.
    [[nodiscard]] std::string quoted(std::string_view key) const;
    /// Something that the user should know of a text that is read all the same. @param line  0: the present one
    void tell(const std::string& what, int line = 0);

    /// What stands behind the key and, if there is one, behind the first colon after it; trimmed.
    [[nodiscard]] std::string_view value(std::string_view key) const;
    /// The same up to `length` characters, bytes above ASCII included.
    [[nodiscard]] std::string text(std::string_view key, std::size_t length) const;
    /// A file name as it can be used here: "\" turned into "/".
    [[nodiscard]] std::string file_name(std::string_view key);

    /// The number behind a key; what is no number or outside the limits is a fault. In front of it may stand blanks,
    /// "=" and a unit in brackets, behind it a unit or a remark, but nothing that makes another number of it, as in
    /// "2*10^24", "2 e24", "1,5" or "1/2". @return true if it was stored
    bool number(std::string_view key, double& target, const Limits& limits = any_number);
    bool whole(std::string_view key, int& target, int low, int high);
    bool flag(std::string_view key, bool& target);
    /// Numbers behind a key, at most `most` and up to a text behind the first of them or the end of the line.
    /// @param rest  where the last one ended: position in `value(key)`
    bool numbers(std::string_view key, std::size_t most, std::vector<double>& found, std::size_t& rest);
    /// Constant whose word stands in the line, the last that is found; a line without any is a fault.
    bool last_word(std::string_view key, const std::string_view* words, std::size_t count, int& target);

private:
    /// Position behind the key at the start of the line, npos if it begins otherwise.
    [[nodiscard]] std::size_t behind_key(std::string_view key, bool exactly) const;
    /// Takes down whether the line has a keyword, and what was asked for.
    bool noted(std::string_view key, bool found, bool at_start) const;
    /// The keyword goes on in the line as a longer word.
    [[nodiscard]] bool only_begins(std::string_view key) const;
    /// What is to be said of the line that is left.
    void settle();
    /// The number that `text` begins with, a unit in brackets apart. @param end  position behind it
    bool leading_number(std::string_view key, std::string_view text, double& found, std::size_t& end);

    Report& report_;
    std::string title_, name_;
    LineReader reader_;
    CommentList remarks_;
    bool remarks_told_ = false;
    std::string line_;
    bool failed_ = false;

    LineWatch* watch_ = nullptr;
    // Of the present line, under a watch only:
    mutable std::string taken_;               ///< keyword under which it was taken; empty: not known
    mutable bool taken_at_start_ = false;     ///< the keyword stands at its start
    mutable std::vector<std::string> asked_;  ///< keywords that it does not have
};

}  // namespace kovin
