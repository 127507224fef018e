#include "support/dvtext.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

size_t dvCopyText(char* dst, size_t capacity, const char* src)
{
    if (!dst || capacity == 0)
        return 0;
    size_t n = 0;
    if (src) {
        for (const char* p = src; *p && n + 1 < capacity; ++p) {
            if (p[0] == '%' && p[1] == '%')
                ++p;
            dst[n++] = *p;
        }
    }
    dst[n] = '\0';
    return n;
}

size_t dvCopyText(char* dst, size_t capacity, const std::string& src)
{
    return dvCopyText(dst, capacity, src.c_str());
}

size_t dvCopyPlain(char* dst, size_t capacity, const char* src)
{
    if (!dst || capacity == 0)
        return 0;
    size_t n = 0;
    if (src)
        for (; src[n] && n + 1 < capacity; ++n)
            dst[n] = src[n];
    dst[n] = '\0';
    return n;
}

std::string dvUnescapePercent(const std::string& src)
{
    std::string out;
    out.reserve(src.size());
    for (size_t i = 0; i < src.size(); ++i) {
        if (src[i] == '%' && i + 1 < src.size() && src[i + 1] == '%')
            ++i;
        out += src[i];
    }
    return out;
}

namespace {

// The conversions the library's own formats use most, done by hand: %d, %ld,
// %u, %lu, %s and %% with no flag, width or precision. Anything else goes to
// vsnprintf.
enum Conversion { CONV_NONE, CONV_INT, CONV_LONG, CONV_UNSIGNED, CONV_ULONG, CONV_TEXT, CONV_PERCENT };

// The conversion at p (just after a '%') and its length; CONV_NONE when it is
// not one of the above.
Conversion conversionAt(const char* p, size_t& length)
{
    switch (p[0]) {
    case 'd':
    case 'i':
        length = 1;
        return CONV_INT;
    case 'u':
        length = 1;
        return CONV_UNSIGNED;
    case 's':
        length = 1;
        return CONV_TEXT;
    case '%':
        length = 1;
        return CONV_PERCENT;
    case 'l':
        length = 2;
        return p[1] == 'd' || p[1] == 'i' ? CONV_LONG : p[1] == 'u' ? CONV_ULONG : CONV_NONE;
    default:
        return CONV_NONE;
    }
}

bool onlySimpleConversions(const char* fmt)
{
    for (const char* p = fmt; (p = strchr(p, '%')) != nullptr;) {
        size_t length = 0;
        if (conversionAt(p + 1, length) == CONV_NONE)
            return false;
        p += 1 + length;
    }
    return true;
}

void appendUnsigned(std::string& out, unsigned long value, bool negative)
{
    char digits[24];
    char* end = digits + sizeof digits;
    char* p = end;
    do {
        *--p = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    if (negative)
        *--p = '-';
    out.append(p, static_cast<size_t>(end - p));
}

void appendSigned(std::string& out, long value)
{
    // The magnitude of LONG_MIN does not fit a long, but does an unsigned long.
    const unsigned long magnitude =
        value < 0 ? 0UL - static_cast<unsigned long>(value) : static_cast<unsigned long>(value);
    appendUnsigned(out, magnitude, value < 0);
}

// Formats fmt, which onlySimpleConversions accepted, as vsnprintf would.
std::string formatSimple(const char* fmt, va_list ap)
{
    std::string out;
    out.reserve(128);
    const char* p = fmt;
    for (const char* percent; (percent = strchr(p, '%')) != nullptr;) {
        out.append(p, static_cast<size_t>(percent - p));
        size_t length = 0;
        switch (conversionAt(percent + 1, length)) {
        case CONV_INT:
            appendSigned(out, va_arg(ap, int));
            break;
        case CONV_LONG:
            appendSigned(out, va_arg(ap, long));
            break;
        case CONV_UNSIGNED:
            appendUnsigned(out, va_arg(ap, unsigned int), false);
            break;
        case CONV_ULONG:
            appendUnsigned(out, va_arg(ap, unsigned long), false);
            break;
        case CONV_TEXT: {
            const char* text = va_arg(ap, const char*);
            out.append(text ? text : "(null)");
            break;
        }
        case CONV_PERCENT:
            out.push_back('%');
            break;
        case CONV_NONE:
            break;
        }
        p = percent + 1 + length;
    }
    out.append(p);
    return out;
}

} // namespace

std::string dvFormat(const char* fmt, ...)
{
    va_list ap;
    if (onlySimpleConversions(fmt)) {
        va_start(ap, fmt);
        std::string out = formatSimple(fmt, ap);
        va_end(ap);
        return out;
    }
    char small[256];
    va_start(ap, fmt);
    int n = vsnprintf(small, sizeof small, fmt, ap);
    va_end(ap);
    if (n < 0)
        return std::string();
    if (static_cast<size_t>(n) < sizeof small)
        return std::string(small, static_cast<size_t>(n));
    std::string out(static_cast<size_t>(n) + 1, '\0');
    va_start(ap, fmt);
    vsnprintf(&out[0], out.size(), fmt, ap);
    va_end(ap);
    out.resize(static_cast<size_t>(n));
    return out;
}
