#include "solver/iteration_limit.h"

#include "base/report.h"
#include "base/text_format.h"

#include <string>

namespace kovin {

namespace {

struct LimitText {
    const char* function;
    const char* what;
    bool tells_count, tells_sparse;
};

LimitText text_of(LimitedLoop loop)
{
    switch (loop) {
        case LimitedLoop::psi:
            return {"dc_Gummel_iteration_psi", "Gummel-calculation of variable psi", true, false};
        case LimitedLoop::u:
            return {"dc_Gummel_iteration_u_or_v", "Gummel-calculation of variable 'u' (function of electron density)",
                    true, true};
        case LimitedLoop::v:
            return {"dc_Gummel_iteration_u_or_v", "Gummel-calculation of variable 'v' (function of hole density)", true,
                    true};
        case LimitedLoop::uv:
            return {"dc_Gummel_iteration_uv", "Gummel-calculation of variables u and v (lumped)", false, false};
        case LimitedLoop::coupled:
            break;
    }
    return {"fully_coupled_iteration", "fully coupled calculation of variables psi, u and v", false, false};
}

void tell(Report& report, LimitedLoop loop, int count, std::size_t outside)
{
    const LimitText text = text_of(loop);
    std::string body = std::string("Max no of iterations exceeded during ") + text.what;
    if (text.tells_count) body += "\nIteration count: " + integer(count);
    if (text.tells_sparse) body += "\nNumber of sparse elements: " + integer(static_cast<long>(outside));
    KOVINErrorMessage(report, std::string("Error in ") + text.function + "()", body);
}

}  // namespace

bool act_on_iteration_limit(const Problem& problem, LimitedLoop loop, int action, int count, std::size_t outside)
{
    const bool with_message = action == 1 || action == 3;
    if (with_message && problem.report != nullptr) tell(*problem.report, loop, count, outside);
    return action == 3 || action == 4 || (action == 1 && loop == LimitedLoop::psi);
}

}  // namespace kovin
