// Splitting command lines into words and reading numbers from them.
#ifndef DVCLI_WORDS_H
#define DVCLI_WORDS_H

#include <string>
#include <vector>

namespace dvcli {

// Splits a command line into words. Blanks separate words; "..." quotes a
// word that may hold blanks, '#' or nothing at all (\" and \\ inside quotes
// stand for " and \); a '#' that begins a word starts a comment that runs
// to the end of the line. Returns false with a one-line reason for an
// unterminated quote.
bool splitWords(const std::string& line, std::vector<std::string>& words, std::string& error);

// The words from index `from` on, joined by single blanks.
std::string joinWords(const std::vector<std::string>& words, size_t from);

// A whole decimal number with an optional sign, within [lo, hi].
bool parseNumber(const std::string& text, long long lo, long long hi, long long& out);

// A text made safe to print between quotes: control characters become
// \xNN, a quote and a backslash get a backslash.
std::string printable(const std::string& text);
std::string quoted(const std::string& text);

// An amount in the currency's smallest unit as text with `decimals`
// decimals: 1250 -> "12.50".
std::string money(long long amount, int decimals = 2);

} // namespace dvcli

#endif
