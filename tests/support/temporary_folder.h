// A folder for one test, removed with all that is in it; an environment variable may be set for as long.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace orrery {

class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "orrery-XXXXXX").string();
        path = ::mkdtemp(name.data());
    }
    ~TemporaryFolder() {
        ::unsetenv(variable.c_str());
        std::filesystem::remove_all(path);
    }

    void SetEnvironment(const std::string& name, const std::string& value) {
        variable = name;
        ::setenv(name.c_str(), value.c_str(), 1);
    }
    std::string PathOf(const std::string& name) const { return path / name; }
    std::string Read(const std::string& name) const {
        std::ifstream file(path / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path / name, std::ios::binary) << bytes;
    }

  private:
    std::filesystem::path path;
    std::string variable;
};

}  // namespace orrery
