#pragma once

#include <functional>
#include <string>

/**
 * Damages a good file in a fixed number of ways: every length that it can be cut to (the first few
 * thousand), and a few hundred rounds in which one byte in a hundred is another, always the same ones.
 * Hands over each damaged file; an exception beyond what the callee takes fails the test.
 */
void ForEachDamage(const std::string& bytes, const std::function<void(const std::string&)>& use);
