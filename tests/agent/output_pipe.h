// A pipe for a printer to write to, whose lines can be taken.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <vector>

namespace orrery::test {

class OutputPipe {
  public:
    OutputPipe() { EXPECT_EQ(pipe(ends), 0); }
    ~OutputPipe() {
        close(ends[1]);
        CloseReader();
    }
    int Writer() const { return ends[1]; }
    void CloseReader() {
        if (ends[0] >= 0) close(ends[0]);
        ends[0] = -1;
    }
    // What has been written so far, at most a pipe's fill.
    std::vector<std::string> Lines() {
        std::string buffer(65'536, '\0');
        buffer.resize(static_cast<size_t>(read(ends[0], buffer.data(), buffer.size())));
        std::istringstream stream(buffer);
        std::vector<std::string> lines;
        for (std::string line; std::getline(stream, line);) lines.push_back(line);
        return lines;
    }

  private:
    int ends[2] = {-1, -1};
};

}  // namespace orrery::test
