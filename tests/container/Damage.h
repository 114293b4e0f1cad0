#pragma once

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"

/** Reads a file, however broken: the reader must come to its end without an exception. */
inline void ExpectSettledEnd(const std::string& format, const TempFolder& folder, const std::string& name,
                             const std::string& bytes, const std::string& how) {
    const std::string trace = ReadTrace(format, folder.Write(name, bytes));
    EXPECT_TRUE(trace.ends_with("Close\n")) << how;
    EXPECT_EQ(trace.find("Exception"), std::string::npos) << how << ": " << trace;
}

/** A good file with one per cent of its bytes changed, `rounds` times, always the same ones. */
inline void ExpectSettledEndsOfDamaged(const std::string& format, const std::string& name,
                                       const std::string& good, int rounds) {
    const TempFolder folder;
    std::mt19937 random(20010203);
    for (int round = 0; round < rounds; ++round) {
        std::string bytes = good;
        for (std::size_t i = 0; i < 1 + good.size() / 100; ++i) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        ExpectSettledEnd(format, folder, name, bytes, "round " + std::to_string(round));
    }
}

/** A good file cut at every length, or at every `step`th one of a long file. */
inline void ExpectSettledEndsOfCut(const std::string& format, const std::string& name,
                                   const std::string& good, std::size_t step = 1) {
    const TempFolder folder;
    for (std::size_t size = 0; size < good.size(); size += step) {
        ExpectSettledEnd(format, folder, name, good.substr(0, size), "cut at " + std::to_string(size));
    }
}
