// What the Python package is held against: the same read by C++, the seconds of the fastest of so many, and
// the least that one took of the processors.
//
//     karta-read-times FILE RUNS
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "karta/Read.h"

int main(int count, char** arguments) {
    if (count != 3) {
        std::fputs("usage: karta-read-times FILE RUNS\n", stderr);
        return 2;
    }
    double best = 1e30;
    double least = 1e30;
    for (int run = std::atoi(arguments[2]); run > 0; --run) {
        const auto start = std::chrono::steady_clock::now();
        const std::clock_t spent = std::clock();
        const karta::Table table = karta::Read(arguments[1]);
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        best = std::min(best, seconds.count());
        least = std::min(least, static_cast<double>(std::clock() - spent) / CLOCKS_PER_SEC);
    }
    std::printf("%.6f %.6f\n", best, least);
}
