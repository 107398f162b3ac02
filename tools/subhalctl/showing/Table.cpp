#include "tools/subhalctl/showing/Table.h"

#include <algorithm>
#include <utility>

#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {

void Table::add(std::vector<std::string> cells, std::string below) {
    mRows.push_back({std::move(cells), std::move(below)});
}

void Table::choose() {
    size_t width = 0;
    for (size_t i = 0; i < mColumns.size(); ++i) {
        Column& column = mColumns[i];
        bool idle = !column.zeros && !mRows.empty() && outputWidth() != kUnlimited;
        column.least = std::max(column.least, shownWidth(column.heading));
        for (const Row& row : mRows) {
            column.least = std::max(column.least, shownWidth(row.cells[i]));
            idle = idle && (row.cells[i] == "0" || row.cells[i] == "-");
        }
        if (idle) continue;
        mShown.push_back(i);
        width += column.least + 2;
    }
    while (width - 2 > outputWidth()) {
        const auto least = std::max_element(
            mShown.begin(), mShown.end(),
            [this](size_t a, size_t b) { return mColumns[a].rank < mColumns[b].rank; });
        if (mColumns[*least].rank == 0) return;
        width -= mColumns[*least].least + 2;
        mShown.erase(least);
    }
}

std::string Table::line(const std::vector<std::string>& cells) const {
    std::string line;
    for (const size_t i : mShown) {
        const std::string blanks(
            mColumns[i].least - std::min(mColumns[i].least, shownWidth(cells[i])), ' ');
        line +=
            (line.empty() ? "" : "  ") + (mColumns[i].left ? cells[i] + blanks : blanks + cells[i]);
    }
    return line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
}

std::string Table::text(bool heading) {
    std::string text;
    if (mShown.empty()) {
        choose();
        std::vector<std::string> headings;
        for (const Column& column : mColumns) {
            headings.emplace_back(column.heading);
        }
        if (heading) text = line(headings);
    }
    for (const Row& row : mRows) {
        text += line(row.cells) + row.below;
    }
    mRows.clear();
    return text;
}

}  // namespace subhalctl
