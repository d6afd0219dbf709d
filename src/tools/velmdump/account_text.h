// The account of a conversion, for people.
#ifndef MODFORGE_TOOLS_VELMDUMP_ACCOUNT_TEXT_H
#define MODFORGE_TOOLS_VELMDUMP_ACCOUNT_TEXT_H

#include <cstdio>

#include "tools/second_opinion/account.h"

/// Prints what became of each section, of the symbols by class and one by one, and of the relocations by section, type
/// and fate.
void print_account(const second_opinion::account& told, std::FILE* out);

#endif
