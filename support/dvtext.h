// Text helpers shared by the whole library.
//
// The library never hands outside text (translations, device answers, report
// tails, directory names) to printf as a format. Where a text used to be
// "printed as its own format" it goes through dvCopyText instead, which keeps
// the one visible effect that mattered ("%%" comes out as "%") and nothing
// else: every other '%' is copied as it stands.
#ifndef DV_SUPPORT_DVTEXT_H
#define DV_SUPPORT_DVTEXT_H

#include <cstddef>
#include <string>

// Copies src into dst (capacity bytes, NUL included), turning "%%" into "%".
// Stops at the capacity; dst is always terminated when capacity > 0. A null
// src copies as the empty text; a null dst or a zero capacity writes nothing.
// Returns the number of characters written (without the NUL).
size_t dvCopyText(char* dst, size_t capacity, const char* src);
size_t dvCopyText(char* dst, size_t capacity, const std::string& src);

// Copies src into dst as it stands (no '%' rule), cut at the capacity; the
// same null and capacity rules as dvCopyText. For texts that are simply copied,
// such as the device's version and command list.
size_t dvCopyPlain(char* dst, size_t capacity, const char* src);

// The same transformation, unbounded, into a string.
std::string dvUnescapePercent(const std::string& src);

// printf into a std::string. The format must be a literal of ours.
std::string dvFormat(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// A null C text as the empty string.
inline std::string dvStr(const char* s) { return s ? std::string(s) : std::string(); }

#endif
