#pragma once

#include <ostream>
#include <string>
#include <vector>

/// A text table with a header row, printed with its columns aligned.
class Table {
public:
    enum class Align { Left, Right };

    struct Column {
        std::string title;
        Align align = Align::Left;
    };

    explicit Table(std::vector<Column> columns);

    /// Adds a row; missing cells are blank, extra cells are dropped.
    void addRow(std::vector<std::string> cells);
    bool empty() const { return rows_.empty(); }

    /// Prints the header, a rule and the rows, columns two blanks apart, each
    /// line after indent.
    void print(std::ostream& out, const std::string& indent = "") const;

private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

/// Prints "label: value" lines with the values aligned.
class Fields {
public:
    void add(std::string label, std::string value);
    void print(std::ostream& out) const;

private:
    std::vector<std::pair<std::string, std::string>> fields_;
};
