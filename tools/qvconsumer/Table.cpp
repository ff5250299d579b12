#include "Table.h"

#include <algorithm>
#include <utility>

namespace {

/// Width on screen: UTF-8 continuation bytes take no column.
std::size_t displayWidth(const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

void pad(std::ostream& out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out << ' ';
    }
}

}  // namespace

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

void Table::addRow(std::vector<std::string> cells) {
    cells.resize(columns_.size());
    rows_.push_back(std::move(cells));
}

void Table::print(std::ostream& out, const std::string& indent) const {
    std::vector<std::size_t> widths;
    for (const auto& column : columns_) {
        widths.push_back(displayWidth(column.title));
    }
    for (const auto& row : rows_) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], displayWidth(row[i]));
        }
    }
    auto printRow = [&](const std::vector<std::string>& cells) {
        out << indent;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            std::size_t gap = widths[i] - displayWidth(cells[i]);
            bool last = i + 1 == cells.size();
            if (columns_[i].align == Align::Right) {
                pad(out, gap);
                out << cells[i];
            } else {
                out << cells[i];
                if (!last) {
                    pad(out, gap);
                }
            }
            if (!last) {
                out << "  ";
            }
        }
        out << '\n';
    };
    std::vector<std::string> titles;
    std::vector<std::string> rules;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        titles.push_back(columns_[i].title);
        rules.push_back(std::string(widths[i], '-'));
    }
    printRow(titles);
    printRow(rules);
    for (const auto& row : rows_) {
        printRow(row);
    }
}

void Fields::add(std::string label, std::string value) {
    fields_.emplace_back(std::move(label), std::move(value));
}

void Fields::print(std::ostream& out) const {
    std::size_t width = 0;
    for (const auto& field : fields_) {
        width = std::max(width, displayWidth(field.first));
    }
    for (const auto& [label, value] : fields_) {
        out << label << ':';
        pad(out, width - displayWidth(label) + 1);
        out << value << '\n';
    }
}
