#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

/** The folder of real files beside the project; empty where it isn't there. */
std::string SharedFolder();

/** All files below a folder of it, in order of their names: SharedFiles("data/spreadsheet/txt"). */
std::vector<std::string> SharedFiles(const std::string& folder);

/** Leaves a test that needs the real files, with a word, where there are none. */
#define SKIP_WITHOUT_SHARED_DATA()                                            \
    do {                                                                      \
        if (SharedFolder().empty()) {                                         \
            GTEST_SKIP() << "the shared files do not lie beside the project"; \
        }                                                                     \
    } while (false)
