// The command bytes of every CLinkora method, read back from the simulator
// (linked into this program, so that the link's dlopen finds this copy).
#include "reportfixture.h"

#include "dvsim.h"
#include "link/clinkora.h"

#include <functional>

namespace {

bool ignoreReport(unsigned char*)
{
    return true;
}

class CommandBytesTest : public ReportTest {
protected:
    void SetUp() override
    {
        ReportTest::SetUp();
        ASSERT_EQ(dvsim_reset_model(), DVSIM_OK);
        char port[] = "sim";
        ASSERT_EQ(linkora.initialize(&ignoreReport, port, message), 0) << message;
        ASSERT_EQ(dvsim_clear_logs(), DVSIM_OK);
    }
    void TearDown() override
    {
        linkora.exit(message);
        ReportTest::TearDown();
    }

    // The last command the device received, separators shown as '|'.
    static std::string lastCommand()
    {
        const long count = dvsim_command_count();
        if (count <= 0)
            return "<none>";
        char buf[512];
        dvsim_command_at(static_cast<size_t>(count - 1), buf, sizeof buf);
        std::string text = buf;
        for (char& c : text)
            if (c == FS)
                c = '|';
        return text;
    }

    char message[DV_MESSAGE_SIZE] = "";
};

TEST_F(CommandBytesTest, EveryMethodSendsItsBytes)
{
    // The fake clock stands at 09:05:07 local time (the tests run in UTC).
    const struct {
        std::function<short(char*)> send;
        const char* bytes;
    } cases[] = {
        {[](char* m) { return linkora.login(7, 3, m); }, "a|07|03|0905"},
        {[](char* m) { return linkora.login(100, 99, m); }, "a|10|99|0905"}, // "%02d" cut to 2 characters
        {[](char* m) { return linkora.logout(m); }, "b"},
        {[](char* m) { return linkora.dispense(1250, "", m); }, "c|00001250"},
        {[](char* m) { return linkora.dispense(1250, "T1", m); }, "c|00001250|T1"},
        {[](char* m) { return linkora.askPayOut(500, m); }, "d|00000500"},
        {[](char* m) { return linkora.askPayOut(123456789, m); }, "d|12345678"}, // cut to 8
        {[](char* m) { return linkora.doPayOut(123456789, 5, "", m); }, "f|123456789|00000005"}, // never cut
        {[](char* m) { return linkora.doPayOut(1000, 1500, "T1", m); }, "f|00001000|00001500|T1"},
        {[](char* m) { return linkora.enablePayin(m); }, "h"},
        {[](char* m) { return linkora.disablePayin(m); }, "g"},
        {[](char* m) { return linkora.change(m); }, "e|1"},
        {[](char* m) { return linkora.regretOne(m); }, "e|2"},
        {[](char* m) { return linkora.reset(m); }, "e|3"},
        {[](char* m) { return linkora.regretAll(m); }, "e|4"},
        {[](char* m) { return linkora.regretAllSum(m); }, "f|00000000|00000000|regretAll"},
        {[](char* m) { return linkora.verifyDV("20261116090507", m); }, "x|20261116090507"},
    };
    for (const auto& c : cases) {
        c.send(message);
        EXPECT_EQ(lastCommand(), c.bytes);
    }
}

} // namespace
