// The records that docs/hub-driver.md promises to authors of kernel drivers are those of the golden
// rows.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <numeric>
#include <regex>
#include <set>

#include "simulator/KnownSensors.h"
#include "tests/drivers/Golden.h"

namespace {

using golden::DriverRow;
using golden::Marker;

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
    std::vector<size_t> widths;
    for (const std::string& group : matches(record, "([a-z0-9]+ [^;]+)")) {
        const std::string bits = matches(group, "^[a-z]+([0-9]*) ").at(0);
        const size_t width = bits.empty() ? 1 : std::stoul(bits) / 8;
        for (const std::string& name :
             matches(group.substr(group.find(' ')), "(\\w+(\\[\\d+\\])?)")) {
            const auto bracket = name.find('[');
            const size_t count =
                bracket == std::string::npos ? 1 : std::stoul(name.substr(bracket + 1));
            if (width == 1) {
                widths.push_back(count);
            } else {
                widths.insert(widths.end(), count, width);
            }
        }
    }
    return widths;
}

/** A golden form as the page has to show it: the fields' widths, then how a flush is marked. */
std::pair<std::vector<size_t>, std::string> shown(const golden::Form& form) {
    std::vector<size_t> widths = form.widths;
    widths.push_back(sizeof(uint64_t));  // the timestamp
    const std::map<Marker, std::string> texts{{Marker::kNoTimestamp, "timestamp 0"},
                                              {Marker::kAllZero, "all 0"},
                                              {Marker::kEveryRecord, "every record"},
                                              {Marker::kNone, "never"}};
    return {widths, texts.at(form.marker)};
}

TEST(RecordPage, ShowsEachDriversRecords) {
    const std::vector<DriverRow> rows = golden::allRows();
    std::set<int> seen;
    std::ifstream page(RECORD_PAGE);
    for (std::string line; std::getline(page, line);) {
        std::smatch cell;
        if (!std::regex_match(line, cell,
                              std::regex("\\| ([0-9, ]+)( \\(W\\))? \\| (.+) \\| (\\d+) "
                                         "\\| `(.+)` \\| (.+) \\|")))
            continue;
        const std::vector<std::string> devices = matches(cell[3], "`(\\w+)`");
        const std::vector<size_t> widths = widthsOf(cell[5]);
        EXPECT_EQ(std::accumulate(widths.begin(), widths.end(), size_t{0}), std::stoul(cell[4]))
            << line;
        size_t column = 0;
        for (const std::string& number : matches(cell[1], "(\\d+)")) {
            const int handle = std::stoi(number);
            const auto row =
                std::find_if(rows.begin(), rows.end(),
                             [handle](const DriverRow& each) { return each.handle == handle; });
            ASSERT_NE(row, rows.end()) << line;
            EXPECT_EQ(row->plainIsWakeUp, cell[2].matched) << line;
            const auto* profile = simulator::findKnownSensor(handle);
            if (!devices.empty()) {  // else an older form
                EXPECT_EQ(profile->iioName, devices[std::min(column++, devices.size() - 1)])
                    << line;
                EXPECT_EQ(profile->recordSize, std::stoul(cell[4])) << line;
                EXPECT_TRUE(seen.insert(handle).second) << line;
            }
            const bool isGolden =
                std::any_of(row->forms.begin(), row->forms.end(), [&](const golden::Form& form) {
                    return shown(form) == std::make_pair(widths, std::string(cell[6]));
                });
            EXPECT_TRUE(isGolden || row->forms.empty()) << line;
        }
    }
    for (const DriverRow& row : rows)
        EXPECT_EQ(seen.count(row.handle), 1U) << row.className << " is not in docs/hub-driver.md";
}

}  // namespace
