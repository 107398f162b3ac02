#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace bench {

/** The library's figure and the floor's of the same moment, in ns, again and again. */
class Pairs {
  public:
    void add(double library, double floor) {
        mLibrary.push_back(library);
        mFloor.push_back(floor);
        mRatios.push_back(library / floor);
    }
    void report(benchmark::State& state, bool tails = false) {
        state.counters["lib_ns"] = part(mLibrary, 0.5);
        state.counters["floor_ns"] = part(mFloor, 0.5);
        state.counters["ratio"] = part(mRatios, 0.5);
        state.counters["ratio_q1"] = part(mRatios, 0.25);
        state.counters["ratio_q3"] = part(mRatios, 0.75);
        if (!tails) return;
        state.counters["lib_p99"] = part(mLibrary, 0.99);
        state.counters["floor_p99"] = part(mFloor, 0.99);
    }

  private:
    static double part(std::vector<double>& values, double part) {
        std::sort(values.begin(), values.end());
        return values[static_cast<size_t>(part * static_cast<double>(values.size() - 1))];
    }
    std::vector<double> mLibrary;
    std::vector<double> mFloor;
    std::vector<double> mRatios;
};

}  // namespace bench
