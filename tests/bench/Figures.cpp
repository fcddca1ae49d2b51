#include "tests/bench/Figures.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace Figures {
namespace {

std::vector<std::size_t> widths(const Row& heads, const std::vector<Row>& rows)
{
    std::vector<std::size_t> result(heads.size());
    const auto widen = [&](const Row& row) {
        for (std::size_t column = 0; column < result.size(); ++column) {
            result[column] = std::max(result[column], row.at(column).size());
        }
    };
    widen(heads);
    std::for_each(rows.begin(), rows.end(), widen);
    return result;
}

void printRow(const Row& row, const std::vector<std::size_t>& widths)
{
    for (std::size_t column = 0; column < row.size(); ++column) {
        std::cout << "  " << (column == 0 ? std::left : std::right)
                  << std::setw(static_cast<int>(widths[column])) << row[column];
    }
    std::cout << '\n';
}

} // namespace

double milliseconds(Clock::duration time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

double Sample::quantile(double share) const
{
    std::vector<double> sorted = _values;
    std::sort(sorted.begin(), sorted.end());
    return sorted.at(static_cast<std::size_t>(std::lround(share * static_cast<double>(sorted.size() - 1))));
}

std::string text(double value, int digits)
{
    std::ostringstream stream;
    stream << std::fixed << std::setprecision(digits) << value;
    return stream.str();
}

std::string text(int value)
{
    return std::to_string(value);
}

void print(const std::string& title, const Row& heads, const std::vector<Row>& rows)
{
    std::cout << '\n' << title << "\n\n";
    const std::vector<std::size_t> all = widths(heads, rows);
    printRow(heads, all);
    for (const Row& row : rows) {
        printRow(row, all);
    }
    std::cout << std::flush;
}

void remark(const std::string& line)
{
    std::cout << "  " << line << std::endl;
}

} // namespace Figures
