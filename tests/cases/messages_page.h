// docs/messages.md as tests need it: its rows, and whether a run printed what a row stands for.
#ifndef MODFORGE_CASES_MESSAGES_PAGE_H
#define MODFORGE_CASES_MESSAGES_PAGE_H

#include <set>
#include <string>
#include <vector>

namespace cases {

/// The messages in the first column of the page, of all sections before the one that modforge never says.
std::vector<std::string> page_rows();

/// Rows that need a fault of the machine: tests/faults makes them.
extern const std::set<std::string> faults_of_the_machine;

/// Rows that the tests of refusals make.
std::set<std::string> rows_of_refusals();

/// Whether a line of the output is the message of a row, its capital words filled in by the run.
bool says(const std::string& output, const std::string& row);

}  // namespace cases

#endif
