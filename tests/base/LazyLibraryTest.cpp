#include "base/LazyLibrary.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <stdexcept>

TEST(LazyLibraryTest, IsLoadedAtTheFirstCall) {
    constexpr const char* Name = "libanl.so.1";
    LazyLibrary library(Name);
    if (dlopen(Name, RTLD_NOW | RTLD_NOLOAD) != nullptr) {
        GTEST_SKIP() << "loaded already";
    }
    EXPECT_NE(library.Find<void>("getaddrinfo_a"), nullptr);
    EXPECT_NE(dlopen(Name, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST(LazyLibraryTest, WhatIsNotThereIsAnException) {
    LazyLibrary none("libkarta-none.so.9");
    EXPECT_THROW(none.Find<void>("f"), std::runtime_error);
    EXPECT_THROW(none.Find<void>("f"), std::runtime_error);
    LazyLibrary math("libm.so.6");
    EXPECT_THROW(math.Find<void>("no_such_function"), std::runtime_error);
}
