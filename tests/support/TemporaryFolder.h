// A folder of a test's own, gone with everything in it at the end of the scope.
#pragma once

#include "Base/Uuid.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace ombrel::test {

class TemporaryFolder {
public:
    TemporaryFolder()
        : path_(std::filesystem::temp_directory_path() / ("ombrel-test-" + Uuid::make().text())) {
        std::filesystem::create_directory(path_);
    }
    ~TemporaryFolder() {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
    /// Sorted names of everything directly inside, hidden files too.
    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path_)) {
            names.push_back(entry.path().filename().string());
        }
        std::ranges::sort(names);
        return names;
    }

private:
    std::filesystem::path path_;
};

} // namespace ombrel::test
