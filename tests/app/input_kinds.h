// Kinds of input files for the tests of damaged ones: a sample of each, how a run takes it, what `kovin check` finds.
#pragma once

#include "app/check_file.h"
#include "base/scratch_folder.h"
#include "support/lines.h"

#include <memory>
#include <string>
#include <vector>

namespace kovin::test {

struct InputKind {
    std::string extension, sample;  ///< in home
    /// Reads a file as a run does. @return true if something usable came of it; that it is finite and within its bounds
    /// is expected here
    bool (*take)(Session&, const std::string& file);
    std::string value;  ///< start of a line of the sample whose first value the faults of a value replace
    // of columns:
    int most_rows = 2500;
    bool refuses_more = true;   ///< else what is too much is left out
    bool refuses_rows = false;  ///< a row that is none refuses the file
    // of keyed files:
    std::string more = {};  ///< a text that, put often enough in front of `behind`, is beyond all bounds; none: columns
    std::string behind = {}, end = {};                                 ///< a file without the line `end` is incomplete
    void (*promises)(const std::string&) = [](const std::string&) {};  ///< asked of every text of the kind

    [[nodiscard]] bool keyed() const { return !more.empty(); }
    [[nodiscard]] const char* told_if_empty() const
    {
        return !keyed() ? "End of file" : extension == "def" ? "empty or incomplete" : "holds no line of";
    }
    [[nodiscard]] std::vector<std::string> lines() const;  ///< of the sample
};
[[nodiscard]] const std::vector<InputKind>& input_kinds();

/// What became of a file.
struct Outcome {
    bool taken = false, readable = true;          ///< by a run; as a check says
    std::vector<std::string> messages, findings;  ///< "title: text", "file:line: text"

    [[nodiscard]] std::string said() const { return join(messages); }
    [[nodiscard]] std::string found() const { return join(findings); }
    /// Does one message hold all the parts?
    [[nodiscard]] bool told(const std::vector<std::string>& parts) const;
};

/// Tries one file after the other in one session: what is refused is told, and found by a check.
class InputBench {
public:
    InputBench();
    Outcome of(const InputKind& kind, const std::filesystem::path& file);
    Outcome of(const InputKind& kind, const std::string& text);
    /// "x." with the extension of the kind.
    [[nodiscard]] std::filesystem::path file(const InputKind& kind) const
    {
        return scratch_.path() / ("x." + kind.extension);
    }

private:
    ScratchFolder scratch_;
    std::unique_ptr<Session> session_ = std::make_unique<Session>();
};

}  // namespace kovin::test
