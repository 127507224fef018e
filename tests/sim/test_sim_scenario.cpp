// Scenario files (DVSIM_CONFIG and dvsim_load_scenario) and the inventory
// rules of the control interface.
#include "simtest.h"

#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <unistd.h>

using namespace simtest;

namespace {

std::string writeTemp(const std::string& name, const std::string& content)
{
    std::string path = "/tmp/dvsim-test-" + std::to_string(getpid()) + "-" + name;
    std::ofstream(path) << content;
    return path;
}

} // namespace

TEST(SimScenario, ConfigFileSetsTheStartState)
{
    std::string path = writeTemp("ok.dvsim", "currency SEK\n"
                                             "decimals 2\n"
                                             "denomination 100 count 3   # a coin\n"
                                             "denomination 10000 count 5 low 1 high 9\n"
                                             "legacy on\n"
                                             "fault 7 at insert 1\n");
    setenv("DVSIM_CONFIG", path.c_str(), 1);
    ASSERT_EQ(0, openLink());
    dvsim_inventory inv;
    ASSERT_EQ(DVSIM_OK, dvsim_get_inventory(&inv));
    EXPECT_STREQ("SEK", inv.currency);
    ASSERT_EQ(2u, inv.count);
    EXPECT_EQ(10000, inv.denominations[0].value); // highest first
    EXPECT_EQ(5, inv.denominations[0].count);
    EXPECT_EQ(1, inv.denominations[0].low);
    EXPECT_EQ(9, inv.denominations[0].high);
    EXPECT_EQ(100, inv.denominations[1].value);
    EXPECT_EQ(1, status().legacy);

    converse(cmd({"a", "01", "02", "0905"}));
    EXPECT_EQ((std::vector<std::string>{"a0000000011", "b0000000021NOTE JAM      07"}), after([] { dvsim_insert(100); }));
    EXPECT_EQ(3, countOf(100));

    ASSERT_EQ(DVSIM_OK, dvsim_set_count(100, 0));
    ASSERT_EQ(DVSIM_OK, dvsim_reset_model());
    EXPECT_EQ(3, countOf(100));
    EXPECT_EQ(0, status().session_open);
    EXPECT_EQ(0, status().fault_code);
    dv_dini();
    std::remove(path.c_str());
}

TEST(SimScenario, MalformedFilesNameTheLineAndRefuseTheLink)
{
    struct Case {
        const char* content;
        int line;
    } cases[] = {
        {"currency EUR\nfrobnicate 3\n", 2},
        {"# comment\n\ndecimals 7\n", 3},
        {"currency EURO1\n", 1},
        {"denomination 5000 count -1\n", 1},
        {"denomination 5000 colour 3\n", 1},
        {"denomination 5000 count\n", 1},
        {"denomination 5000\ndenomination 5000\n", 2},
        {"denomination 100 low 5 high 5\n", 1},
        {"denomination 250\ndecimals 2\n", 1}, // 2,50 cannot be written in a level report
        {"fault 7 at lunch 3\n", 1},
        {"fault 7 at insert 3 A TEXT OF MANY WORDS\n", 1},
        {"timing warp 5\n", 1},
        {"profile fast\nprofile slow\n", 2},
        {"version 12\n", 1},
        {"serial ABCDEFGHIJKLMNOPQR\n", 1},
        {"legacy yes\n", 1},
    };
    int i = 0;
    for (const Case& c : cases) {
        std::string path = writeTemp("bad" + std::to_string(i++) + ".dvsim", c.content);
        setenv("DVSIM_CONFIG", path.c_str(), 1);
        std::string text;
        EXPECT_EQ(1, openLink(&text)) << c.content;
        EXPECT_EQ(0u, text.find("scenario line " + std::to_string(c.line) + ": ")) << c.content << " -> " << text;
        EXPECT_EQ(0, status().link_open);
        std::remove(path.c_str());
    }
    setenv("DVSIM_CONFIG", "/nonexistent/dir/x.dvsim", 1);
    std::string text;
    EXPECT_EQ(1, openLink(&text));
    EXPECT_EQ(0u, text.find("cannot read scenario file")) << text;

    std::string good = writeTemp("good.dvsim", "decimals 2\n");
    setenv("DVSIM_CONFIG", good.c_str(), 1);
    EXPECT_EQ(0, openLink());
    dv_dini();
    std::remove(good.c_str());
}

TEST(SimScenario, LoadScenarioResults)
{
    char err[128];
    EXPECT_EQ(DVSIM_E_ARG, dvsim_load_scenario(nullptr, err, sizeof err));
    EXPECT_EQ(DVSIM_E_IO, dvsim_load_scenario("/nonexistent/x.dvsim", err, sizeof err));
    EXPECT_EQ(DVSIM_E_PARSE, dvsim_load_scenario_text("seed\n", err, sizeof err));
    EXPECT_STREQ("scenario line 1: expected: seed NUMBER", err);
    char small[8];
    EXPECT_EQ(DVSIM_E_PARSE, dvsim_load_scenario_text("seed\n", small, sizeof small));
    EXPECT_STREQ("scenari", small);
    // a refused scenario changes nothing
    long before = countOf(5000);
    EXPECT_EQ(DVSIM_E_PARSE, dvsim_load_scenario_text("denomination 5000 count 1\nbogus\n", nullptr, 0));
    EXPECT_EQ(before, countOf(5000));
}

TEST(SimScenario, ExampleScenariosAreValid)
{
    DIR* dir = opendir(DVSIM_SCENARIO_DIR);
    ASSERT_NE(nullptr, dir);
    int found = 0;
    while (dirent* e = readdir(dir)) {
        std::string name = e->d_name;
        if (name.size() < 7 || name.substr(name.size() - 6) != ".dvsim")
            continue;
        char err[128] = "";
        EXPECT_EQ(DVSIM_OK, dvsim_load_scenario((std::string(DVSIM_SCENARIO_DIR) + "/" + name).c_str(), err, sizeof err))
            << name << ": " << err;
        ++found;
    }
    closedir(dir);
    EXPECT_GE(found, 5);
}

TEST(SimScenario, InventoryRulesOfTheControlInterface)
{
    dvsim_inventory inv;
    ASSERT_EQ(DVSIM_OK, dvsim_get_inventory(&inv));
    EXPECT_STREQ("EUR", inv.currency);
    EXPECT_EQ(2, inv.decimals);
    EXPECT_EQ(10u, inv.count);
    const dvsim_inventory good = inv;

    EXPECT_EQ(DVSIM_E_ARG, dvsim_set_inventory(nullptr));
    EXPECT_EQ(DVSIM_E_ARG, dvsim_get_inventory(nullptr));
    struct Bad {
        const char* why;
        void (*spoil)(dvsim_inventory&);
    } bad[] = {
        {"not a whole unit", [](dvsim_inventory& i) { i.denominations[0].value = 250; }},
        {"twice", [](dvsim_inventory& i) { i.denominations[1].value = i.denominations[0].value; }},
        {"too many", [](dvsim_inventory& i) { i.count = DVSIM_MAX_DENOMINATIONS + 1; }},
        {"currency", [](dvsim_inventory& i) { std::strcpy(i.currency, "EUR1"); }},
        {"high below low", [](dvsim_inventory& i) { i.denominations[0].high = 1; }},
    };
    for (const Bad& b : bad) {
        dvsim_inventory x = good;
        b.spoil(x);
        EXPECT_EQ(DVSIM_E_ARG, dvsim_set_inventory(&x)) << b.why;
    }
    ASSERT_EQ(DVSIM_OK, dvsim_get_inventory(&inv));
    EXPECT_EQ(0, std::memcmp(&good, &inv, sizeof inv));

    EXPECT_EQ(DVSIM_E_NOTFOUND, dvsim_set_count(7, 1));
    EXPECT_EQ(DVSIM_E_STATE, dvsim_insert(500)); // logged out
    EXPECT_EQ(DVSIM_E_ARG, dvsim_set_thresholds(500, 5, 3));
}
