// A run of a shipped cell as its files are, with the measurements that a test asks for.
#pragma once

#include "device/action_file.h"
#include "device/definition_reader.h"
#include "device/unit_systems.h"
#include "solver/devices.h"
#include "sweeps/ladder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace kovin {

struct ShippedRun {
    explicit ShippedRun(const std::string& name)
    {
        surroundings.folders.root = KOVIN_SOURCE_DIR "/home";
        const auto folder = surroundings.folders.root / "def";
        EXPECT_TRUE(lees_structuurfile(surroundings, folder / (name + ".def"), s->problem));
        s->panel = InitialiseActionPanel();
        EXPECT_TRUE(SetActionPanelFromFile(surroundings, folder / (name + ".act"), s->panel));
        s->zonnecel = parameterset1_to_2(s->problem.input.cell);
        s->panel.workPoint.lightFromRight = s->problem.workPoint.lightFromRight;
        s->panel.workPoint.Rfront = s->problem.workPoint.Rfront;
        s->panel.actions.IV_calculate = false;
    }
    DataListElement& calculated()
    {
        outcome = calculate_withMeta(surroundings, *s);
        EXPECT_FALSE(s->results.empty());
        return s->results.back();
    }
    WorkPoint& wp() { return s->panel.workPoint; }
    ActionList& actions() { return s->panel.actions; }

    /// Left becomes right: contacts, layers and the side of the light.
    void turn()
    {
        s->zonnecel.cell = testing::mirrored(s->zonnecel.cell);
        wp().lightFromRight = !wp().lightFromRight;
    }

    Surroundings surroundings;
    std::unique_ptr<Simulation> s = std::make_unique<Simulation>();
    RunOutcome outcome = RunOutcome::failed;
};

}  // namespace kovin
