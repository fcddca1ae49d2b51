#include "tests/bench/Budgets.h"

#include <vector>

#include "tests/bench/Figures.h"

namespace {

struct Budget
{
    std::string what;
    double found = 0;
    double limit = 0;

    bool holds() const { return found <= limit; }
};

std::vector<Budget>& all()
{
    static std::vector<Budget> budgets;
    return budgets;
}

} // namespace

void Budgets::expectAtMost(const std::string& what, double found, double limit)
{
    all().push_back({what, found, limit});
}

bool Budgets::hold()
{
    bool result = true;
    std::vector<Figures::Row> rows;
    for (const Budget& budget : all()) {
        result = result && budget.holds();
        rows.push_back({budget.what, Figures::text(budget.found), Figures::text(budget.limit),
                        budget.holds() ? "kept" : "EXCEEDED"});
    }
    Figures::print("Budgets", {"", "found", "at most", ""}, rows);
    return result;
}
