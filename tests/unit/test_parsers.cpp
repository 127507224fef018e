// Field parsers of the device reports.
#include "reportfixture.h"

#include "events/dvparsers.h"

namespace {

using ParserTest = ReportTest;

TEST_F(ParserTest, ReportFields)
{
    std::string cmd, rest = "kept";
    int amount = -1, status = -1, mode = -1;
    EXPECT_EQ(formatCallbackArg("a0000123401", cmd, amount, status, mode, rest), 0);
    EXPECT_EQ(cmd, "a");
    EXPECT_EQ(amount, 1234);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(mode, 1);
    EXPECT_EQ(rest, "kept"); // exactly 11 characters: no tail
    EXPECT_EQ(formatCallbackArg("b0000000031 tail", cmd, amount, status, mode, rest), 0);
    EXPECT_EQ(rest, " tail");
    EXPECT_EQ(formatCallbackArg("q", cmd, amount, status, mode, rest), 0);
    EXPECT_EQ(cmd, "q");
}

TEST_F(ParserTest, MalformedFieldsAndTheirTexts)
{
    std::string cmd, rest;
    int amount = 0, status = 0, mode = 0;
    EXPECT_EQ(formatCallbackArg("", cmd, amount, status, mode, rest), 2);
    EXPECT_EQ(formatCallbackArg("a000000000", cmd, amount, status, mode, rest), 2);
    EXPECT_EQ(formatCallbackArg("a0000000A01", cmd, amount, status, mode, rest), 2); // atoi gives 0
    EXPECT_EQ(formatCallbackArg("a        01", cmd, amount, status, mode, rest), 2); // blanks
    EXPECT_EQ(formatCallbackArg("a-000000101", cmd, amount, status, mode, rest), 2);
    EXPECT_EQ(amount, 0);
    EXPECT_EQ(formatCallbackArg("a00000001X1", cmd, amount, status, mode, rest), 2);
    EXPECT_EQ(formatCallbackArg("a000000010-", cmd, amount, status, mode, rest), 2);
    EXPECT_EQ(formatCallbackArg("x12345678901234567890", cmd, amount, status, mode, rest), 0);
    EXPECT_EQ(formatCallbackArg("x1234567890123456789", cmd, amount, status, mode, rest), 2);

    const std::vector<std::string> expected = {
        "!! formatCallbackArg: Callback string too short",
        "!! formatCallbackArg: Callback string too short",
        "!! formatCallbackArg: amountOrRest atoi-conversion failed",
        "!! formatCallbackArg: amountOrRest atoi-conversion failed",
        "!! formatCallbackArg: amountOrRest atoi-conversion failed",
        "!! formatCallbackArg: amountOrRest atoi-conversion failed",
        "!! formatCallbackArg invalid amountOrRest from: a-000000101",
        "!! formatCallbackArg: nStatus atoi-conversion failed",
        "!! formatCallbackArg: nMode atoi-conversion failed",
        "!! formatCallbackArg: Callback string too short",
    };
    EXPECT_EQ(logic(), expected);
    // The amount conversion failure goes to the logic log only.
    EXPECT_EQ(errors().size(), expected.size() - 4);
}

TEST_F(ParserTest, Denominations)
{
    long value = 0;
    std::string text, suffix;
    EXPECT_EQ(getDenomination("05 10 EUR   ", 3, value, text, suffix), 0);
    EXPECT_EQ(value, 1000);
    EXPECT_EQ(text, "10");
    EXPECT_EQ(suffix, " EUR");
    EXPECT_EQ(getDenomination("0,50 EUR", 0, value, text, suffix), 0);
    EXPECT_EQ(value, 50);
    EXPECT_EQ(getDenomination("0.5", 0, value, text, suffix), 0);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(getDenomination("5/- SEK", 0, value, text, suffix), 0);
    EXPECT_EQ(text, "5/");
    EXPECT_EQ(value, 500);

    // The separator form is taken unscaled whatever the currency's decimals;
    // the plain form is scaled by them.
    for (int decimals : {0, 3}) {
        g_nCurrencyDecimals = decimals;
        EXPECT_EQ(getDenomination("0,50 EUR", 0, value, text, suffix), 0);
        EXPECT_EQ(value, 50) << decimals;
        EXPECT_EQ(getDenomination("100 JPY", 0, value, text, suffix), 0);
        EXPECT_EQ(value, decimals == 0 ? 100 : 100000) << decimals;
    }
    g_nCurrencyDecimals = 2;

    EXPECT_EQ(getDenomination("EUR", 0, value, text, suffix), 2);
    EXPECT_EQ(getDenomination("0,00", 0, value, text, suffix), 2);
    EXPECT_EQ(getDenomination("abc", 99, value, text, suffix), 2); // position past the end
    EXPECT_FALSE(dvtest::grep(logs.file("dverror_Nov.log"),
                              "!! cdvlogics.getDenomination: strDenomination conversion failed (denom=0), "
                              "strDenomination = 00")
                     .empty());
}

TEST_F(ParserTest, CashLevelFailures)
{
    int numberOf = 7, type = 0;
    long value = 7;
    std::string typeText, valueText, warning;
    EXPECT_EQ(getCashLevels("05 10 EUR", numberOf, value, type, typeText, valueText, warning), 2);
    EXPECT_EQ(numberOf, 0);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(getCashLevels("X5 10 EUR       ", numberOf, value, type, typeText, valueText, warning), 2);
    g_nCurrentLowLevelWarningState = LOW_LEVEL_WARNING_FALSE;
    EXPECT_EQ(getCashLevels("05 EUR          ", numberOf, value, type, typeText, valueText, warning), 2);
    EXPECT_EQ(g_nCurrentLowLevelWarningState.load(), LOW_LEVEL_WARNING_TRUE); // set before the value is read
    EXPECT_EQ(getCashLevels("0X 10 EUR       ", numberOf, value, type, typeText, valueText, warning), 2);
    const std::vector<std::string> expected = {
        "!! getCashLevels: wrong message length: 05 10 EUR",
        "!! getCashLevels: First character in message string is not numeric",
        "!! cdvlogics.getDenomination: strDenomination conversion failed (denom=0), strDenomination = ",
        "!! getCashLevels: getDenomination failed",
        "!! getCashLevels: strNumberOf conversion failed",
    };
    EXPECT_EQ(errors(), expected);
}

TEST_F(ParserTest, TranslatedLevelWords)
{
    dvtest::writeFile(config.file("dvlang.ini"), "[Lang]\nLow=Niedrig\nLeft=übrig\n");
    int numberOf = 0, type = 0;
    long value = 0;
    std::string typeText, valueText, warning;
    EXPECT_EQ(getCashLevels("15 20 EUR       ", numberOf, value, type, typeText, valueText, warning), 0);
    EXPECT_EQ(warning, "20 Niedrig (15 übrig)");
}

TEST_F(ParserTest, ErrorCodes)
{
    int code = 5;
    EXPECT_EQ(getErrorCode("NOTE JAM      07", code), 0);
    EXPECT_EQ(code, 7);
    EXPECT_EQ(getErrorCode("NOTE JAM      00", code), 0);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(getErrorCode("NOTE JAM      7", code), 2); // 15 characters
    EXPECT_EQ(getErrorCode("NOTE JAM      XY", code), 2);
    EXPECT_EQ(getErrorCode("NOTE JAM      -5", code), 2);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(errors(), (std::vector<std::string>{"!! getErrorCode: wrong message length: NOTE JAM      7",
                                                  "!! getErrorCode: errCode atoi-conversion failed",
                                                  "!! getErrorCode: invalid errorCode from: NOTE JAM      -5"}));
}

TEST_F(ParserTest, SessionWords)
{
    short type = -1;
    int amount = -1;
    EXPECT_EQ(getSessionInfo("CR/WD00001234", type, amount), 0);
    EXPECT_EQ(type, 2);
    EXPECT_EQ(amount, 1234);
    EXPECT_EQ(getSessionInfo("Dravixyz", type, amount), 0);
    EXPECT_EQ(type, 4);
    EXPECT_EQ(amount, 0);
    EXPECT_EQ(getSessionInfo("BO/RF", type, amount), 0); // no amount digits: 0
    EXPECT_EQ(amount, 0);
    EXPECT_EQ(getSessionInfo("XX/WD00001234", type, amount), 2);
    EXPECT_EQ(getSessionInfo("", type, amount), 2);
}

} // namespace
