// What tests let other processes do, to be killed in the midst of it or to measure them. Each verb
// says by lines how far it is:
//   save FILE VERSION TILES             a document of noise, once
//   recover FOLDER ID VERSION TILES     copies of versions from VERSION on, for ever
//   claim FOLDER                        everything that is offered, held until killed
//   replace FILE A B                    A and B put in the place of FILE by turns, for ever
//   rewrite FILE A B                    the bytes of A and B written into FILE by turns, for ever
//   resave FILE OTHER                   opened, saved as OTHER; the peak of memory after each
#include "Base/AtomicFile.h"
#include "IO/Native/NativeFile.h"
#include "IO/RecoveryStore.h"
#include "support/NoiseDocument.h"

#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <unistd.h>

using namespace ombrel;

namespace {

using Arguments = std::vector<std::string>;

void say(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

int save(const Arguments& arguments) {
    const std::int64_t tiles = std::stoll(arguments[2]);
    const auto store = test::makeNoiseStore(tiles);
    const Board board = test::makeNoiseBoard(std::stoull(arguments[1]), tiles, *store);
    say("begin");
    const auto saved = saveNative(board, arguments[0]);
    say(saved ? "end" : saved.error().text());
    return saved ? 0 : 1;
}

int recover(const Arguments& arguments) {
    const std::int64_t tiles = std::stoll(arguments[3]);
    RecoveryStore recovery(arguments[0]);
    const auto id = Uuid::parse(arguments[1]);
    for (std::uint64_t version = std::stoull(arguments[2]);; ++version) {
        const auto store = test::makeNoiseStore(tiles);
        const Board board = test::makeNoiseBoard(version, tiles, *store);
        const auto saved = recovery.save(
            board, {id.value(), std::to_string(version), std::nullopt, currentDate()});
        say(saved ? std::to_string(version) : saved.error().text());
        if (!saved) return 1;
    }
}

int claim(const Arguments& arguments) {
    RecoveryStore recovery(arguments[0]);
    const auto store = test::makeNoiseStore(1);
    for (const RecoveryStore::Entry& entry : recovery.entries()) {
        const auto board = recovery.read(entry, *store);
        if (board) say(entry.id.text());
    }
    say("all");
    while (true)
        ::pause();
}

int replace(const Arguments& arguments) {
    const std::string next = arguments[0] + ".next";
    say("begin");
    for (std::size_t round = 0;; ++round) {
        ::unlink(next.c_str());
        if (::link(arguments[1 + round % 2].c_str(), next.c_str()) != 0) return 1;
        if (::rename(next.c_str(), arguments[0].c_str()) != 0) return 1;
    }
}

/// The most memory that this process ever held, in kilobytes. What getrusage says counts what the
/// process was before it became this program.
std::string peakMemory() {
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word)
        if (word == "VmHWM:" && status >> word) return word;
    return {};
}

int resave(const Arguments& arguments) {
    constexpr std::int64_t plenty = std::int64_t{1} << 40;
    const auto store = TileStore::create({plenty, plenty, 0}, TileStore::Services{});
    const auto board = openNative(arguments[0], *store);
    if (!board) return 1;
    say(peakMemory());
    if (!saveNative(*board, arguments[1])) return 1;
    say(peakMemory());
    return 0;
}

int rewrite(const Arguments& arguments) {
    constexpr std::uint64_t limit = 1 << 30;
    const std::array texts{readSmallFile(arguments[1], limit).value(),
                           readSmallFile(arguments[2], limit).value()};
    const int file = ::open(arguments[0].c_str(), O_WRONLY | O_CLOEXEC);
    say("begin");
    for (std::size_t round = 0;; ++round) {
        const std::string& text = texts[round % 2];
        if (::pwrite(file, text.data(), text.size(), 0) != std::ssize(text)) return 1;
    }
}

constexpr struct {
    std::string_view name;
    std::size_t arguments;
    int (*run)(const Arguments&);
} verbs[]{
    {"save", 3, save},       {"recover", 4, recover}, {"claim", 1, claim},
    {"replace", 3, replace}, {"rewrite", 3, rewrite}, {"resave", 2, resave},
};

} // namespace

int main(int argc, char** argv) {
    const Arguments arguments(argv + std::min(argc, 2), argv + argc);
    for (const auto& verb : verbs)
        if (argc > 1 && verb.name == argv[1] && verb.arguments == arguments.size())
            return verb.run(arguments);
    return 2;
}
