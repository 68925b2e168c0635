#include <sys/un.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "tests/host/Handles.h"
#include "tests/support/Alarms.h"
#include "tests/support/Holdings.h"

namespace zelkcam::test {
namespace {

using host::connectTo;
using host::listenAt;
namespace fs = std::filesystem;

class SocketTest : public testing::Test {
  protected:
    SocketTest() {
        char name[] = "/tmp/zelkcam-transport-XXXXXX";
        mFolder = mkdtemp(name);
        mPath = mFolder / "socket";
    }
    ~SocketTest() override { fs::remove_all(mFolder); }

    fs::path mFolder, mPath;
};

TEST_F(SocketTest, TheFileIsTheOwnersAloneAndGoesWithTheListener) {
    const Holdings before = holdings();
    {
        auto listener = listenAt(mPath);
        ASSERT_TRUE(listener.ok());
        EXPECT_EQ(fs::status(mPath).permissions(), fs::perms::owner_read | fs::perms::owner_write);
        auto moved = std::move(listener.value);
        listener.value.close();
        EXPECT_TRUE(connectTo(mPath).ok());
        EXPECT_EQ(listenAt(mPath).error, -EADDRINUSE) << "somebody listens there";
        EXPECT_TRUE(connectTo(mPath).ok()) << "a refused listener must leave the file alone";
    }
    EXPECT_FALSE(fs::exists(mPath));
    EXPECT_EQ(connectTo(mPath).error, -ENOENT);
    EXPECT_EQ(holdings(), before);
}

TEST_F(SocketTest, ADeadServersSocketIsReplacedButNoOtherFile) {
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    strcpy(address.sun_path, mPath.c_str());
    const int dead = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(dead, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    close(dead);
    EXPECT_EQ(connectTo(mPath).error, -ECONNREFUSED);
    EXPECT_TRUE(listenAt(mPath).ok());

    std::ofstream(mPath) << "precious";
    EXPECT_EQ(listenAt(mPath).error, -EADDRINUSE);
    EXPECT_EQ(fs::file_size(mPath), 8u);
}

TEST_F(SocketTest, UnusablePathsAreRefused) {
    const std::string folder = mFolder.string() + "/";
    const std::string longest = folder + std::string(107 - folder.size(), 'x');
    EXPECT_TRUE(listenAt(longest).ok());
    EXPECT_EQ(listenAt(longest + "x").error, -ENAMETOOLONG);
    EXPECT_EQ(connectTo(longest + "x").error, -ENAMETOOLONG);
    EXPECT_EQ(listenAt("").error, -EINVAL);
    EXPECT_EQ(listenAt(std::string("\0abstract", 9)).error, -EINVAL);
    EXPECT_EQ(listenAt(folder + "absent/socket").error, -ENOENT);
}

TEST_F(SocketTest, ASignalEndsTheWaitForAPeer) {
    auto listener = listenAt(mPath);
    ASSERT_TRUE(listener.ok());
    const Alarms alarms;
    EXPECT_EQ(listener.value.accept().error, -EINTR);
}

}  // namespace
}  // namespace zelkcam::test
