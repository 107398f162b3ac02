// The steps of adding a driver: a forgotten one fails here under its name.

#include <algorithm>
#include <fstream>
#include <numeric>
#include <regex>
#include <set>

#include "simulator/KnownSensors.h"
#include "simulator/World.h"
#include "tests/drivers/DriverBench.h"
#include "tests/drivers/Golden.h"

namespace {

using golden::DriverRow;

constexpr int kLastHandle = 89;  // as many records as the library reads

/** Handles of the catalogue's table: those that it does not call invalid. */
std::set<int> handlesOfTheTable() {
    driver_tests::DriverBench bench({});
    std::string spec;
    for (int handle = 1; handle <= kLastHandle; ++handle)
        spec += encodeSpec(testing_support::plainSensor(handle));
    bench.mHub.setRawSpec(spec);
    bench.rebuild();
    std::set<int> handles;
    for (int handle = 1; handle <= kLastHandle; ++handle) {
        const std::string line = "E pushSensorList invalid handle " + std::to_string(handle);
        if (!testing_support::LogCapture::contains(line)) handles.insert(handle);
    }
    return handles;
}

TEST(Coverage, EveryStepOfAddingADriver) {
    std::set<int> table = handlesOfTheTable();
    std::set<int> handles;
    for (const DriverRow& row : golden::allRows()) {
        SCOPED_TRACE(std::string(row.className) + ", handle " + std::to_string(row.handle));
        EXPECT_TRUE(handles.insert(row.handle).second) << "two golden rows";
        EXPECT_EQ(table.count(row.handle), 1U) << "no line in the table of sensors/SensorList.cpp";

        const auto* known = simulator::findKnownSensor(row.handle);
        ASSERT_NE(known, nullptr) << "no row in simulator/KnownSensors.cpp";
        const bool fits =
            known->type == row.type && known->stringType() == row.stringType &&
            known->displayName == std::string(row.displayName) &&
            (known->needsPermission ? golden::kQSensor : std::string()) == row.permission &&
            known->flags == row.addedFlags && known->plainNameIsWakeUp == row.plainIsWakeUp &&
            std::any_of(row.exchanges.begin(), row.exchanges.end(),
                        [&](const auto& e) { return e.record.size() == known->recordSize; });
        EXPECT_TRUE(fits) << "another identity or record size in simulator/KnownSensors.cpp";
        EXPECT_FALSE(known->chip.chipName.empty()) << "no chip in simulator/KnownSensors.cpp";
        const bool hasData = std::any_of(row.exchanges.begin(), row.exchanges.end(),
                                         [](const auto& e) { return e.posted && !e.posted->meta; });
        EXPECT_EQ(hasData, known->values[0] != '\0')
            << "no values, or too many, in simulator/KnownSensors.cpp";
    }
    int last = 0;
    for (const auto& known : simulator::knownSensors()) {
        EXPECT_LT(last, known.chip.handle) << "simulator/KnownSensors.cpp is not sorted by handle";
        last = known.chip.handle;
        if (!known.isHubsOwn()) table.insert(known.chip.handle);
        if (known.signal == nullptr) continue;
        simulator::RecordBuilder record;
        known.signal(simulator::World(5), known.chip, 1.7, record);
        EXPECT_EQ(known.recordSize, record.bytes().size() + sizeof(uint64_t))
            << "another signal's length in simulator/KnownSensors.cpp, handle " << last;
    }
    for (const int handle : table)
        EXPECT_EQ(handles.count(handle), 1U) << "no golden row of handle " << handle;
}

std::vector<std::string> matches(const std::string& text, const char* pattern) {
    const std::regex expression(pattern);
    std::vector<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end;
         ++match)
        found.push_back((*match)[1]);
    return found;
}

/** Widths of a record's fields; an array of bytes is one field, as in the golden rows. */
std::vector<size_t> widthsOf(const std::string& record) {
    const std::regex typeOrName("[a-z]+(\\d*) |\\w+(?:\\[(\\d+)\\])?");
    std::vector<size_t> widths;
    size_t width = 0;
    for (std::sregex_iterator match(record.begin(), record.end(), typeOrName), end; match != end;
         ++match) {
        const std::string count = (*match)[2];
        if (match->str().back() == ' ') {
            const std::string bits = (*match)[1];
            width = bits.empty() ? 1 : std::stoul(bits) / 8;
            continue;
        }
        const size_t fields = count.empty() ? 1 : std::stoul(count);
        widths.insert(widths.end(), width == 1 ? 1 : fields, width == 1 ? fields : width);
    }
    return widths;
}

/** A golden form as the page has to show it: the fields' widths, then how a flush is marked. */
std::pair<std::vector<size_t>, std::string> shown(const golden::Form& form) {
    std::vector<size_t> widths = form.widths;
    widths.push_back(sizeof(uint64_t));  // the timestamp
    constexpr const char* kMarkers[] = {"timestamp 0", "all 0", "every record", "never"};
    return {widths, kMarkers[static_cast<size_t>(form.marker)]};
}

// The records that the page promises to authors of kernel drivers are those of the golden rows.
TEST(Coverage, ThePageShowsEachDriversRecords) {
    const std::vector<DriverRow> rows = golden::allRows();
    std::set<int> seen;
    std::ifstream page(RECORD_PAGE);
    const std::regex cells(R"(\| ([0-9, ]+)( \(W\))? \| (.+) \| (\d+) \| `(.+)` \| (.+) \|)");
    std::smatch cell;
    for (std::string line; std::getline(page, line);) {
        if (!std::regex_match(line, cell, cells)) continue;
        SCOPED_TRACE(line);
        const std::vector<std::string> devices = matches(cell[3], "`(\\w+)`");
        const std::vector<size_t> widths = widthsOf(cell[5]);
        EXPECT_EQ(std::accumulate(widths.begin(), widths.end(), size_t{0}), std::stoul(cell[4]));
        size_t column = 0;
        for (const std::string& number : matches(cell[1], "(\\d+)")) {
            const int handle = std::stoi(number);
            const auto row = std::find_if(rows.begin(), rows.end(), [handle](const auto& each) {
                return each.handle == handle;
            });
            ASSERT_NE(row, rows.end());
            EXPECT_EQ(row->plainIsWakeUp, cell[2].matched);
            const auto* profile = simulator::findKnownSensor(handle);
            if (!devices.empty()) {  // else an older form
                EXPECT_EQ(profile->iioName, devices[std::min(column++, devices.size() - 1)]);
                EXPECT_EQ(profile->recordSize, std::stoul(cell[4]));
                EXPECT_TRUE(seen.insert(handle).second);
            }
            const bool isGolden =
                std::any_of(row->forms.begin(), row->forms.end(), [&](const golden::Form& form) {
                    return shown(form) == std::make_pair(widths, std::string(cell[6]));
                });
            EXPECT_TRUE(isGolden || row->forms.empty());
        }
    }
    for (const DriverRow& row : rows)
        EXPECT_EQ(seen.count(row.handle), 1U) << row.className << " is not in docs/hub-driver.md";
}

}  // namespace
