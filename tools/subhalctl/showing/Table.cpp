#include "tools/subhalctl/showing/Table.h"

#include <algorithm>
#include <utility>

#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {

void Table::add(std::vector<std::string> cells, std::string below) {
    mRows.push_back({std::move(cells), std::move(below)});
}

bool Table::isZero(size_t column) const {
    return std::all_of(mRows.begin(), mRows.end(), [column](const Row& row) {
        return row.cells[column] == "0" || row.cells[column] == "-";
    });
}

size_t Table::width() const {
    size_t width = 0;
    for (const size_t column : mShown) {
        width += mColumns[column].least + (width > 0 ? 2 : 0);
    }
    return width;
}

void Table::choose() {
    for (size_t i = 0; i < mColumns.size(); ++i) {
        Column& column = mColumns[i];
        column.least = std::max(column.least, shownWidth(column.heading));
        for (const Row& row : mRows) {
            column.least = std::max(column.least, shownWidth(row.cells[i]));
        }
        const bool idle = !column.zeros && !mRows.empty() && isZero(i);
        if (!idle || outputWidth() == kUnlimited) mShown.push_back(i);
    }
    while (width() > outputWidth()) {
        const auto least = std::max_element(
            mShown.begin(), mShown.end(),
            [this](size_t a, size_t b) { return mColumns[a].rank < mColumns[b].rank; });
        if (mColumns[*least].rank == 0) return;
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
