#include "Cli/ScriptingPage.h"

#include "Cli/ProgramRun.h"
#include "Commands/CommandRegistry.h"
#include "support/TestPlaces.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace ombrel {

namespace {

std::string textOf(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace

TEST(ScriptingPage, isWhatTheRegistryGives) {
    const std::filesystem::path path = TestPlaces::docs() / "scripting.md";
    const char* accept = std::getenv("OMBREL_ACCEPT_GOLDEN");
    if (accept != nullptr && std::string(accept) == "1") std::ofstream(path) << scriptingPage();
    EXPECT_EQ(textOf(path), scriptingPage())
        << "docs/scripting.md is old: OMBREL_ACCEPT_GOLDEN=1 writes it anew";
}

TEST(ScriptingPage, linksTheExamplesThatThereAre) {
    const std::string page = scriptingPage();
    for (const auto& entry : std::filesystem::directory_iterator(TestPlaces::docs() / "examples")) {
        const std::string link = "(examples/" + entry.path().filename().string() + ")";
        EXPECT_NE(page.find(link), std::string::npos) << link;
    }
    const std::regex link("\\((examples/[^)]*)\\)");
    for (std::sregex_iterator each(page.begin(), page.end(), link), end; each != end; ++each)
        EXPECT_TRUE(std::filesystem::exists(TestPlaces::docs() / (*each)[1].str()));
}

TEST(CommandsVerb, listsEveryCommandAndWritesThePage) {
    const ProgramResult list = runProgram({"commands"});
    EXPECT_EQ(list.exitStatus, 0);
    for (const CommandType& type : commandTypes())
        EXPECT_NE(list.output.find(std::string(type.name) + "\n"), std::string::npos) << type.name;
    EXPECT_EQ(runProgram({"commands", "--markdown"}).output, scriptingPage());
    EXPECT_EQ(runProgram({"commands", "--html"}).exitStatus, 2);
}

} // namespace ombrel
