#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace subhalctl {

struct Column {
    const char* heading;
    int rank;           ///< the highest is left out first where lines are too long; 0 never is
    bool zeros = true;  ///< false: left out on a narrow output when all cells are "0" or "-"
    bool left = false;  ///< aligned to the left
    size_t least = 0;   ///< characters, for cells that are yet to come
};

/** Lines of aligned cells that fit into the output's width; see outputWidth(). */
class Table {
  public:
    explicit Table(std::vector<Column> columns) : mColumns(std::move(columns)) {}

    /** @param below lines that follow the row as they are */
    void add(std::vector<std::string> cells, std::string below = "");

    /**
     * The heading and the rows; later only the rows that have been added since, in those columns.
     */
    std::string text(bool heading = true);

  private:
    struct Row {
        std::vector<std::string> cells;
        std::string below;
    };

    void choose();
    std::string line(const std::vector<std::string>& cells) const;

    std::vector<Column> mColumns;
    std::vector<size_t> mShown;  // columns by index; none before the first text()
    std::vector<Row> mRows;
};

}  // namespace subhalctl
