#include <gmock/gmock.h>

#include <iterator>
#include <sstream>

#include "tests/tools/command_fixture.hpp"

// What the command says to a command line that makes no sense.

namespace zavelo::command {
namespace {

using testing::HasSubstr;

std::vector<std::string> words(const std::string& line) {
  std::istringstream stream(line);
  return {std::istream_iterator<std::string>(stream), {}};
}

TEST(Usage, NamesWhatIsWrongAndWhereHelpIs) {
  const TemporaryFolder folder;
  const std::string text = (folder / "text").string();
  ASSERT_EQ(runShell("echo text > " + text).status, 0);
  const std::string search = "user search-for-user --display-name a --limit 1 --next-id ";
  const std::string edit =
      "user edit-profile --display-name a --dob 2000-01-01 --gender x --about b --image ";
  const std::pair<std::string, std::string> lines[] = {
      {"", "a command is missing\n  see zavelo --help"},
      {"usr", "unknown command \"usr\""},
      {"user", "an operation is missing\n  see zavelo user --help"},
      {"user log-in", "unknown operation \"log-in\""},
      {"user is-login now", "unexpected argument \"now\""},
      {"user login --zaveloid a", "unknown option --zaveloid\n  see zavelo user login"},
      {"user login --zavelo-id a", "--password is required"},
      {"user login-guest --device-udid", "--device-udid needs a value"},
      {"user login-guest --device-udid a --device-udid b", "--device-udid is given more than once"},
      {search + "1x", "--next-id: expected an integer"},
      {search + "9223372036854775808", "--next-id: expected an integer of at most 64 bits"},
      {"user login-zavelo --zavelo-id a --display-name b --latitude 1,5",
       "--latitude: expected a number, got \"1,5\""},
      {"user set-user --user {", "--user: not valid JSON"},
      {"call login --parameters []", "--parameters: expected a JSON object"},
      {"user login-guest --device-udid \xff", "--device-udid: invalid UTF-8"},
      {edit + (folder / "none").string(), "No such file"},
      {edit + text, "is not a JPEG"},
      {edit + folder.path().string(), "Is a directory"},
      {"--api 127.0.0.1:80 user is-login", "--api: expected a URL"},
      {"--log loud version", "--log"},
      {"sandbox --port 65536", "--port"},
      {"trigger gift --slug s", "--user-name is required"},
      {"trigger add-votes --slug s --choice x", "--choice: expected an integer"},
      {"trigger kick --slug s --user-name \xff", "userName: invalid UTF-8"},
      {"sandbox exprt", "unknown operation \"exprt\""},
      {"sandbox --state s export", "--state must come after \"export\""},
      {"sandbox export --port 1", "--port is for a sandbox that runs, not for export"},
      {"sandbox export --running --state s", "--state excludes --running"},
      {"chat", "--channel is required"},
      {"chat --channel c", "--rtm: missing"},
      {"chat --channel c --exit-after 0", "--exit-after: expected seconds like 10s or a number"},
      {"chat --channel c --rtm http://127.0.0.1", "--rtm: "},
      {"chat --channel \xff --rtm mqtt://127.0.0.1:1883", "--channel: expected a name in UTF-8"},
      {"chat --channel c --send-file " + (folder / "none").string(), "--send-file: cannot open"},
      {"chat send --channel c --type lik", "--type: expected a kind of event"},
      {"chat send --channel c --type gift --gift-id x", "--gift-id: expected an integer"},
      {"replay --speed -1 chat.json", "--speed: expected a number from 0 on, or max"},
      {"replay --from 1:x chat.json", "--from: expected seconds or a time like 1:30"},
  };
  for (const auto& [line, named] : lines) {
    const auto outcome = runCommand(words(line));
    EXPECT_EQ(outcome.status, 2) << named;
    EXPECT_EQ(outcome.output, "") << named;
    EXPECT_THAT(outcome.error, HasSubstr(named));
    EXPECT_THAT(outcome.error, HasSubstr("--help"));
  }
}

TEST(Usage, ErrorsAreJsonWhereJsonIsAskedFor) {
  const auto outcome = runCommand({"user", "is-login", "--jsn", "--json"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.error,
            "{\"error\":{\"type\":\"usage\",\"description\":\"unknown option --jsn\"}}\n");
  EXPECT_EQ(runCommand({"--json", "\xff"}).error,
            "{\"error\":{\"type\":\"usage\","
            "\"description\":\"unknown command \\\"\\\\xff\\\"\"}}\n")
      << "an argument that is not UTF-8";
}

TEST(Usage, HelpComesFromTheCatalogue) {
  EXPECT_THAT(runCommand({"user", "--help"}).output, HasSubstr("Find users by their name"));
  const auto outcome = runCommand({"user", "login", "--help"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.output, HasSubstr("--password TEXT REQUIRED"));
}

}  // namespace
}  // namespace zavelo::command
