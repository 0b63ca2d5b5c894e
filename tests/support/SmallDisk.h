// A file system of a few megabytes to fill up, mounted for the scope where the test may mount.
#pragma once

#include "support/TemporaryFolder.h"

#include <string>
#include <sys/mount.h>

namespace ombrel::test {

class SmallDisk {
public:
    explicit SmallDisk(int mebibytes) {
        const std::string options = "size=" + std::to_string(mebibytes) + "m";
        isMounted_ = ::mount("tmpfs", folder_.path().c_str(), "tmpfs", 0, options.c_str()) == 0;
    }
    ~SmallDisk() {
        if (isMounted_) ::umount2(folder_.path().c_str(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool isMounted() const { return isMounted_; }
    const TemporaryFolder& folder() const { return folder_; }

private:
    TemporaryFolder folder_;
    bool isMounted_ = false;
};

} // namespace ombrel::test
