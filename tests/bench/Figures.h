#pragma once

#include <chrono>
#include <string>
#include <vector>

/// Figures in the form for readers. Times are in milliseconds.
namespace Figures {

using Clock = std::chrono::steady_clock;

double milliseconds(Clock::duration time);

/// One figure, measured several times.
class Sample
{
public:
    void add(double value) { _values.push_back(value); }
    std::size_t size() const { return _values.size(); }
    /// The value that `share` (0 to 1) of the others do not exceed.
    double quantile(double share) const;
    double median() const { return quantile(0.5); }

private:
    std::vector<double> _values;
};

std::string text(double value, int digits = 2);
std::string text(int value);

using Row = std::vector<std::string>;

/// A table on standard output: the first column to the left, the others to the right.
void print(const std::string& title, const Row& heads, const std::vector<Row>& rows);
/// A remark below a table.
void remark(const std::string& line);

} // namespace Figures
