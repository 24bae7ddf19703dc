// What every mesh has to fulfil.
#pragma once

#include "device/mesh.h"

#include <gtest/gtest.h>

namespace kovin::test {

inline std::size_t index(int i) { return static_cast<std::size_t>(i); }

/// Layers follow each other, share their ends, and rise strictly inside.
inline void expect_sound(const Mesh& mesh, const char* what)
{
    ASSERT_EQ(mesh.x.size(), index(mesh.N)) << what;
    int next = 0;
    for (std::size_t j = 0; j < index(mesh.nlayers); ++j) {
        ASSERT_EQ(mesh.first[j], next) << what;
        ASSERT_EQ(mesh.last[j], mesh.first[j] + mesh.n_in_layer[j] - 1) << what;
        ASSERT_GE(mesh.n_in_layer[j], 2) << what;
        for (std::size_t i = index(mesh.first[j]); i < index(mesh.last[j]); ++i) {
            ASSERT_LT(mesh.x[i], mesh.x[i + 1]) << what;
        }
        if (j > 0) {
            ASSERT_EQ(mesh.x[index(mesh.first[j])], mesh.x[index(mesh.last[j - 1])]) << what;
        }
        next = mesh.last[j] + 1;
    }
    ASSERT_EQ(next, mesh.N) << what;
}

}  // namespace kovin::test
