#include "solver/tunnel_ends.h"

#include "solver/row_sum_solve.h"

#include <algorithm>

namespace kovin {

namespace {

constexpr std::size_t none = static_cast<std::size_t>(-1);

/// Numbers n ends breadth first over j.couplings, from the leftmost one on, into j.order. @return the half bandwidth
std::size_t number_ends(JunctionWork& j, std::size_t n)
{
    // The ends that each end is coupled to, one list behind the other: those of end k from begin[k] to begin[k + 1].
    std::vector<std::size_t>&begin = j.begin, &coupled = j.coupled;
    begin.assign(n + 2, 0);
    for (const TunnelElement& e : j.couplings) ++begin[e.row + 2];
    for (std::size_t k = 2; k < n + 2; ++k) begin[k] += begin[k - 1];
    coupled.resize(j.couplings.size());
    for (const TunnelElement& e : j.couplings) coupled[begin[e.row + 1]++] = e.column;

    j.order.assign(n, none);
    j.queue.clear();
    const auto meet = [&](std::size_t end) {
        if (j.order[end] != none) return;
        j.order[end] = j.queue.size();
        j.queue.push_back(end);
    };
    std::size_t done = 0;
    for (std::size_t first = 0; first < n; ++first)
        for (meet(first); done < j.queue.size(); ++done)
            for (std::size_t k = begin[j.queue[done]]; k < begin[j.queue[done] + 1]; ++k) meet(coupled[k]);

    std::size_t half = 0;
    for (const TunnelElement& e : j.couplings) {
        const std::size_t r = j.order[e.row], c = j.order[e.column];
        half = std::max(half, r > c ? r - c : c - r);
    }
    return half;
}

}  // namespace

void eliminate_between_ends(JunctionWork::Chain& c)
{
    const std::size_t N = c.res.size();
    std::size_t next_end = 0;
    constexpr std::size_t none = static_cast<std::size_t>(-1);
    std::size_t end = none;  // the last one that was passed
    for (std::size_t i = 0; i < N; ++i) {
        if (next_end < c.ends.size() && c.ends[next_end] == i) {
            end = i;
            ++next_end;
            continue;
        }
        // left couples to `end` by now, if there is one.
        const double r = 1.0 / (c.left[i] + c.right[i] + c.sum[i]);
        c.pivot[i] = r;
        const auto pass_on = [&](std::size_t row, double coupling) {
            c.sum[row] += coupling * r * c.sum[i];
            c.res[row] += coupling * r * c.res[i];
        };
        if (end != none) {
            pass_on(end, c.right[end]);
            c.right[end] *= r * c.right[i];
        }
        if (i + 1 < N) {
            pass_on(i + 1, c.left[i + 1]);
            c.left[i + 1] *= r * c.left[i];
        }
    }
}

void solve_ends(JunctionWork& j)
{
    const std::size_t n = j.sums.size();
    j.steps.resize(n);
    const auto take_chain = [&](const JunctionWork::Chain& c, std::size_t offset) {
        for (std::size_t k = 0; k < c.ends.size(); ++k) {
            const std::size_t row = offset + k, i = c.ends[k];
            if (k > 0) j.couplings.push_back({row, row - 1, c.left[i]});
            if (k + 1 < c.ends.size()) j.couplings.push_back({row, row + 1, c.right[i]});
            j.sums[row] += c.sum[i];
            j.steps[row] = c.res[i];
        }
    };
    take_chain(j.n, 0);
    take_chain(j.p, j.n.ends.size());

    const std::size_t half = number_ends(j, n), stride = 2 * half;
    j.band.assign(n * (stride + 1), 0.0);
    double* W = j.band.data() + half;
    for (const TunnelElement& e : j.couplings) W[j.order[e.row] * stride + j.order[e.column]] += e.value;
    j.ordered.resize(2 * n);
    double *sums = j.ordered.data(), *b = sums + n;
    for (std::size_t k = 0; k < n; ++k) {
        sums[j.order[k]] = j.sums[k];
        b[j.order[k]] = j.steps[k];
    }
    solve_by_row_sums({n, half, W, stride, sums, b});
    for (std::size_t k = 0; k < n; ++k) j.steps[k] = b[j.order[k]];
}

void steps_between_ends(JunctionWork::Chain& c, const double* at_ends)
{
    for (std::size_t k = 0; k < c.ends.size(); ++k) c.step[c.ends[k]] = at_ends[k];
    std::size_t ahead = c.ends.size();  // ends[ahead - 1] is the next one to the left
    for (std::size_t i = c.res.size(); i-- > 0;) {
        if (ahead > 0 && c.ends[ahead - 1] == i) {
            --ahead;
            continue;
        }
        double from_neighbours = c.res[i];
        if (ahead > 0) from_neighbours += c.left[i] * c.step[c.ends[ahead - 1]];
        if (i + 1 < c.res.size()) from_neighbours += c.right[i] * c.step[i + 1];
        c.step[i] = c.pivot[i] * from_neighbours;
    }
}

}  // namespace kovin
