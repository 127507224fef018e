#include "support/dvtext.h"

#include <cstdarg>
#include <cstdio>

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

std::string dvFormat(const char* fmt, ...)
{
    char small[256];
    va_list ap;
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
