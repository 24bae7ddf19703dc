// Runs cells of the torture set and tells how many finish, why the others do not, and what a point costs.
//
//     kovin_torture --first 0 --count 500 --route fast --mesh fixed [--lines]
//
// Standard output is the table; --lines adds one line a cell before it.
#include "torture/torture_cell.h"
#include "torture/torture_walk.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace kovin;
using namespace kovin::torture;

struct Wishes {
    std::uint64_t seed = usual_seed, first = 0, count = 500;
    std::string route = "fast", mesh = "fixed", generation;
    double termination = 0.0;
    int scheme = 11;
    bool lines = false;
};

struct Spread {
    double median = 0.0, worst = 0.0;
};
Spread spread(std::vector<double> values)
{
    if (values.empty()) return {};
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return {*middle, *std::max_element(values.begin(), values.end())};
}

struct Figures {
    std::vector<double> equilibrium_passes, light_passes, equilibrium_ms, light_ms, point_ms, cell_ms, passes_a_point,
        uncertainty;
    double noise_limited = 0.0, passes = 0.0, points = 0.0, ms = 0.0;
    std::vector<std::string> failed;
    int ended[std::size(end_words)] = {};

    void add(const TortureCell& torture, const Walk& w)
    {
        ++ended[static_cast<std::size_t>(w.end)];
        passes += static_cast<double>(w.passes);
        points += w.points;
        ms += w.ms();
        noise_limited += w.noise_limited;
        cell_ms.push_back(w.ms());
        if (w.end == End::equilibrium) return;
        equilibrium_passes.push_back(w.equilibrium_passes);
        equilibrium_ms.push_back(w.equilibrium_ms);
        if (w.end == End::light) return;
        if (!torture.dark()) {
            light_passes.push_back(w.light_passes);
            light_ms.push_back(w.light_ms);
            uncertainty.push_back(w.uncertainty);
        }
        passes_a_point.push_back(static_cast<double>(w.passes) / w.points);
        point_ms.push_back((w.light_ms + w.sweep_ms) / w.points);
    }
};

void print_row(const char* name, const std::vector<double>& values)
{
    const Spread s = spread(values);
    std::printf("%-34s %10.4g %10.4g\n", name, s.median, s.worst);
}

void print_table(const Wishes& wishes, const Figures& f)
{
    std::printf("seed %llu, cells %llu to %llu, %s route, %s mesh\n", static_cast<unsigned long long>(wishes.seed),
                static_cast<unsigned long long>(wishes.first),
                static_cast<unsigned long long>(wishes.first + wishes.count - 1), wishes.route.c_str(),
                wishes.mesh.c_str());
    for (std::size_t k = 0; k < std::size(end_words); ++k)
        std::printf("%-34s %10d\n", k == 0 ? end_words[0] : (std::string("failed: ") + end_words[k]).c_str(),
                    f.ended[k]);
    for (const std::string& line : f.failed) std::printf("    %s\n", line.c_str());
    std::printf("%-34s %10s %10s\n", "", "median", "worst");
    print_row("equilibrium, passes", f.equilibrium_passes);
    print_row("equilibrium, ms", f.equilibrium_ms);
    print_row("light on, passes", f.light_passes);
    print_row("light on, ms", f.light_ms);
    print_row("passes a point, mean of a cell", f.passes_a_point);
    print_row("ms a point, mean of a cell", f.point_ms);
    print_row("ms a cell", f.cell_ms);
    print_row("uncertainty of J in light, a cell", f.uncertainty);
    const auto print = [](const char* name, double value) { std::printf("%-34s %10.6g\n", name, value); };
    print("points solved", f.points);
    print("of these limited by rounding", f.noise_limited);
    print("passes a point, all", f.passes / std::max(f.points, 1.0));
    print("ms a point, all", f.ms / std::max(f.points, 1.0));
}

std::string told(std::uint64_t id, const TortureCell& torture, const Walk& w)
{
    char text[200];
    std::snprintf(
        text, sizeof text,
        "%4llu %-11s at %6.3f V  %d layers %3.0f K %-5s points %3d passes %6ld ms %9.2f J0 %12.5e JF %12.5e +- %.1e",
        static_cast<unsigned long long>(id), end_words[static_cast<std::size_t>(w.end)], w.V, torture.cell.layers,
        torture.T, torture.dark() ? "dark" : "light", w.points, w.passes, w.ms(), w.J_start, w.J_forward,
        w.uncertainty);
    return text;
}

void run(const Wishes& wishes)
{
    const auto settings = [&](ConvergenceParameters& c) {
        c.route = wishes.route == "fast" ? Route::fast : Route::classic;
        c.recalculate_mesh = wishes.mesh == "adaptive" ? 1 : 0;
        c.coupling_scheme = wishes.scheme;
        if (wishes.termination > 0.0) set_terminations(c, wishes.termination);
    };
    const bool means = wishes.generation.empty() ? wishes.route == "fast" : wishes.generation == "box";
    Figures figures;
    const auto torture = std::make_unique<TortureCell>();
    for (std::uint64_t id = wishes.first; id < wishes.first + wishes.count; ++id) {
        make_torture_cell(wishes.seed, id, *torture);
        Walker walker(*torture, settings, means ? Generation::box_means : Generation::point_values);
        const Walk w = walker.walk();
        figures.add(*torture, w);
        const std::string line = told(id, *torture, w);
        if (!w.finished()) {
            testing::Device& device = walker.solved();
            figures.failed.push_back(line + "\n       " + failure_advice(device.problem(), device.memory.work));
        }
        if (wishes.lines) std::cout << line << std::endl;
    }
    print_table(wishes, figures);
}

}  // namespace

int main(int argc, char** argv)
{
    Wishes wishes;
    CLI::App app{"Cells of the torture set: how many finish, and how fast", "kovin_torture"};
    app.add_option("--seed", wishes.seed, "Seed of the set")->capture_default_str();
    app.add_option("--first", wishes.first, "First cell")->capture_default_str();
    app.add_option("--count", wishes.count, "Cells")->capture_default_str()->check(CLI::Range(1, 1000000));
    app.add_option("--route", wishes.route)->check(CLI::IsMember({"fast", "classic"}))->capture_default_str();
    app.add_option("--mesh", wishes.mesh)->check(CLI::IsMember({"fixed", "adaptive"}))->capture_default_str();
    app.add_option("--generation", wishes.generation,
                   "Mean over the box of a point (default of the fast route) or value at the point")
        ->check(CLI::IsMember({"box", "point"}));
    app.add_option("--scheme", wishes.scheme, "Of the classic route")->check(CLI::Range(11, 14))->capture_default_str();
    app.add_option("--termination", wishes.termination, "Of the classic route [kT]")->check(CLI::PositiveNumber);
    app.add_flag("--lines", wishes.lines, "One line a cell");
    CLI11_PARSE(app, argc, argv);
    run(wishes);
    return 0;
}
