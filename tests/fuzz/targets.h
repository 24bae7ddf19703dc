// What the fuzzers feed: readers with any bytes. A broken promise of a reader aborts.
//
// The same functions run under libFuzzer (libfuzzer/entry.cpp) and, over the kept corpus, in the plain test program
// (replay_test.cpp), which needs no clang.
#pragma once

#include <string>

namespace kovin::fuzz {

void definition(const std::string& bytes);
void action(const std::string& bytes);
/// The first byte chooses the kind of the file.
void two_column(const std::string& bytes);

}  // namespace kovin::fuzz
