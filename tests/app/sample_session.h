// A session with a shipped cell.
#pragma once

#include "app/initialise.h"
#include "app/load.h"

#include <gtest/gtest.h>

#include <memory>

namespace kovin::test {

/// With the cell and its action list loaded.
inline std::unique_ptr<Session> session_with(const std::string& cell)
{
    auto session = std::make_unique<Session>();
    Initialise(*session, std::filesystem::path(KOVIN_SOURCE_DIR) / "home", "kovin");
    EXPECT_TRUE(load_definition(*session, cell + ".def") && load_action_list(*session, cell + ".act")) << cell;
    return session;
}

}  // namespace kovin::test
