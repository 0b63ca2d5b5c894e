#include "App/Shell/RunningInstance.h"
#include "ShellFixture.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

namespace ombrel {

using Role = RunningInstance::Role;
using Files = RunningInstance::Files;

TEST(RunningInstance, theSecondHandsItsFilesToTheFirst) {
    const test::TemporaryFolder folder;
    RunningInstance first(folder.path());
    ASSERT_EQ(first.start({}), Role::first);
    std::vector<Files> received;
    ASSERT_TRUE(first.listen([&](const Files& files) { received.push_back(files); }));
    const std::vector<Files> sent{{"/a b.png", "/\xC3\xA4\xFF\n.png"}, {}, {"/c"}};
    std::atomic<int> handedOver = 0;
    std::thread others([&] {
        for (const Files& files : sent) {
            RunningInstance other(folder.path());
            if (other.start(files) == Role::handedOver) ++handedOver;
        }
    });
    EXPECT_TRUE(eventually([&] { return received.size() == 3; }));
    others.join();
    EXPECT_EQ(handedOver, 3);
    EXPECT_EQ(received, sent);
}

TEST(RunningInstance, oneThatDoesNotAnswerIsNotWaitedForForever) {
    const test::TemporaryFolder folder;
    RunningInstance first(folder.path());
    ASSERT_EQ(first.start({}), Role::first);
    RunningInstance second(folder.path());
    EXPECT_EQ(second.start({"/a"}, std::chrono::milliseconds(50)), Role::alone);
}

TEST(RunningInstance, aSocketLeftBehindIsReplacedAndTheNextIsFirst) {
    const test::TemporaryFolder folder;
    {
        RunningInstance ended(folder.path());
        ASSERT_EQ(ended.start({}), Role::first);
        ASSERT_TRUE(ended.listen([](const Files&) {}));
    }
    { // of a process that was killed
        const int left = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = folder / "ombrel.socket";
        path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        ASSERT_EQ(::bind(left, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
        ::close(left);
    }
    RunningInstance next(folder.path());
    ASSERT_EQ(next.start({}), Role::first);
    EXPECT_TRUE(next.listen([](const Files&) {}));
}

} // namespace ombrel
