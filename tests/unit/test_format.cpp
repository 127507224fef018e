// dvFormat formats the library's common conversions by hand (it is most of
// the cost of a logged report); whatever it makes must be exactly what
// vsnprintf makes, and every other conversion must still reach vsnprintf.
#include "support/dvtext.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <string>

namespace {

#define EXPECT_AS_PRINTF(...)                                                                                     \
    do {                                                                                                        \
        char expected[8192];                                                                                    \
        snprintf(expected, sizeof expected, __VA_ARGS__);                                                       \
        EXPECT_EQ(dvFormat(__VA_ARGS__), std::string(expected)) << #__VA_ARGS__;                                \
    } while (0)

TEST(DvFormat, HandFormattedConversionsMatchPrintf)
{
    EXPECT_AS_PRINTF("plain text, no conversion");
    EXPECT_AS_PRINTF("%s", "");
    for (int value : {0, 7, -7, 10, -10, 1234567, INT_MAX, INT_MIN})
        EXPECT_AS_PRINTF("v=%d.", value);
    for (long value : {0L, -1L, 99999999L, LONG_MAX, LONG_MIN})
        EXPECT_AS_PRINTF("%ld", value);
    EXPECT_AS_PRINTF("%i and %li", -42, -42L);
    EXPECT_AS_PRINTF("%u %u %lu", 0u, UINT_MAX, ULONG_MAX);
    EXPECT_AS_PRINTF("%%");
    EXPECT_AS_PRINTF("100%% of %d%%", 5);
    EXPECT_AS_PRINTF("sendStatusEvent: amount=%d, status=%d, mode=%d", 2500, 0, 1);
    EXPECT_AS_PRINTF("CDVLogics::info: level=%d, commands=\"%s\", master=\"%s\", info=\"%s\", message=\"%s\".", 1,
                     "ABCDEFGH1234X", "01.02", "Dravik", "Done");
    // A text that carries a conversion of its own is copied, not formatted.
    EXPECT_AS_PRINTF("tail=%s", "10%% %d %s");
    // A null text reads "(null)", as printf writes it.
    const char* volatile none = nullptr;
    EXPECT_EQ(dvFormat("[%s]", none), "[(null)]");
    // Longer than any buffer on the way.
    const std::string longText(1000, 'x');
    EXPECT_AS_PRINTF("%s|%d|%s", longText.c_str(), -3, longText.c_str());
}

TEST(DvFormat, FlagsWidthsAndOtherConversionsStillFormatAsPrintf)
{
    EXPECT_AS_PRINTF("%02d:%02d", 5, 12);
    EXPECT_AS_PRINTF("%.2d", 7);
    EXPECT_AS_PRINTF("%03ld", 42L);
    EXPECT_AS_PRINTF("[%5s][%-5s]", "ab", "cd");
    EXPECT_AS_PRINTF("[%-4d][%+d][% d]", 3, 3, 3);
    EXPECT_AS_PRINTF("%x %X %o %c", 255, 255, 8, 'A');
    EXPECT_AS_PRINTF("%.3s", "abcdef");
    EXPECT_AS_PRINTF("%d then %02d", 1, 2); // one unusual conversion sends the whole format to printf
    EXPECT_AS_PRINTF("%hd", static_cast<short>(-3));
    EXPECT_AS_PRINTF("%lld", LLONG_MIN);
}

} // namespace
