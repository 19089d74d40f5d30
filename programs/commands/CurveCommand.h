#pragma once

#include "programs/options/Arguments.h"
#include "programs/page/ToneTables.h"

namespace platen_tool {

enum class TableForm { kPlain, kC, kCsv, kSane };

// The folded tables as text.
//   kPlain  256 lines "input red green blue"
//   kC      three C arrays
//   kCsv    a heading and 256 lines
//   kSane   256 numbers with commas, as a scanner's gamma-table option takes them; an Error (kUsage) where the
//           channels differ, since such a table is one list
std::string TableText(const ToneTables& tables, TableForm form);

// platen curve: prints or draws the folded tone options; without --svg and --table it prints the plain table.
void RunCurve(const ParsedArguments& arguments);

}  // namespace platen_tool
