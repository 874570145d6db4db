// Tests of the dispatcher's streams: the handlers of the table write to std::cout and
// std::cerr, and dispatch sends that to the streams its caller gave, then gives the
// standard streams back, also after a handler threw.
#include "main/commands.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

TEST(DispatchTest, HandlerOutputGoesToTheCallersStreams) {
  // Read by `ls 1`, whose error then leaves the handler as an exception.
  setenv("DEVICE_CONFIG", "/nonexistent/config.json", 1);
  const std::vector<std::tuple<std::vector<const char*>, std::string, std::string, int>> cases = {
      // The help command's own output, and the output of the handler it calls.
      {{"h"}, "Archive Tool Box", "", 0},
      {{"h", "nope"}, "", "Unknown command: 'nope'\n", 1},
      {{"help", "stat"}, "stat (stat): archive(s) statistics", "", 1},
      {{"st"}, "", "Missed required option: --path (-p)\n", 2},
      {{"ls", "1"}, "", "/nonexistent/config.json: cannot read: No such file or directory\n", 1},
  };
  std::streambuf* const coutBuffer = std::cout.rdbuf();
  std::streambuf* const cerrBuffer = std::cerr.rdbuf();
  for (const auto& [words, firstOutLine, err, status] : cases) {
    std::vector<const char*> argv{"archive"};
    argv.insert(argv.end(), words.begin(), words.end());
    std::ostringstream outStream, errStream;
    EXPECT_EQ(dispatch(int(argv.size()), argv.data(), outStream, errStream), status) << words[0];
    EXPECT_EQ(outStream.str().substr(0, outStream.str().find('\n')), firstOutLine) << words[0];
    EXPECT_EQ(errStream.str(), err) << words[0];
    EXPECT_EQ(std::cout.rdbuf(), coutBuffer) << words[0];
    EXPECT_EQ(std::cerr.rdbuf(), cerrBuffer) << words[0];
  }
}

}  // namespace
