#include "ui/terminal/progress.h"

#include <iostream>
#include <string>

#include <unistd.h>

namespace kovin {

Progress::Progress(const Options& options)
    : verbose_(options.verbose), bar_(options.progress && !options.quiet && !options.verbose && isatty(2) == 1)
{
}

Progress::~Progress() { clear(); }

void Progress::clear()
{
    if (drawn_) std::cerr << "\r\x1b[K" << std::flush;
    drawn_ = false;
}

void Progress::operator()(const Event& event)
{
    if (verbose_) std::cerr << event.text << '\n';
    if (!bar_ || event.total <= 0 || std::chrono::steady_clock::now() - start_ < std::chrono::seconds(1)) return;
    constexpr int width = 40;
    const int filled = width * event.done / event.total;
    std::cerr << "\r\x1b[K[" << std::string(static_cast<std::size_t>(filled), '#')
              << std::string(static_cast<std::size_t>(width - filled), ' ') << "] " << event.done << '/' << event.total
              << std::flush;
    drawn_ = true;
}

}  // namespace kovin
