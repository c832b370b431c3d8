#include "tools/zavelo/demo/demo_stage.hpp"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <sstream>
#include <utility>

#include "tools/zavelo/run/http_exchange.hpp"
#include "tools/zavelo/terminal/readable.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::command {

class DemoStage::Children {
 public:
  std::shared_ptr<ChildProcess> start(const std::vector<std::string>& arguments) {
    const std::lock_guard lock(mutex_);
    if (isInterrupted_) throw Surprise{"interrupted"};
    auto child = ChildProcess::start(std::filesystem::canonical("/proc/self/exe"), arguments);
    if (!child) throw Surprise{child.error()};
    std::shared_ptr<ChildProcess> started = std::move(*child);
    running_.push_back(started);
    return started;
  }
  void interrupt() {
    const std::lock_guard lock(mutex_);
    isInterrupted_ = true;
    for (const auto& child : running_)
      if (const auto alive = child.lock()) alive->signal(SIGTERM);
  }

 private:
  std::mutex mutex_;
  bool isInterrupted_ = false;
  std::vector<std::weak_ptr<ChildProcess>> running_;
};

void interrupt(DemoStage::Children& children) {
  children.interrupt();
}

namespace {

std::string jsonText(const json::Value& value) {
  const auto text = json::encode(value);
  return text ? text.value() : "?";
}

std::string commandLine(const std::vector<std::string>& arguments) {
  std::string line = "zavelo";
  for (const auto& argument : arguments)
    line += argument.find(' ') == std::string::npos ? " " + argument : " '" + argument + "'";
  return line;
}

/// The error's record is the last line, after the log.
json::Value errorIn(const std::string& log) {
  const auto end = log.find_last_not_of('\n');
  const auto start = log.rfind('\n', end);
  const auto line = log.substr(start == std::string::npos ? 0 : start + 1);
  return at(parsed(line), "error");
}

}  // namespace

DemoStage::DemoStage() : children_(std::make_shared<Children>()) {
  std::string pattern = (std::filesystem::temp_directory_path() / "zavelo-demo-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw Surprise{"cannot make the folder " + pattern};
  folder_ = pattern;
}

DemoStage::~DemoStage() {
  sandbox_.reset();
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void DemoStage::tell(std::string_view what) {
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin_;
  std::array<char, 16> time{};
  std::snprintf(time.data(), time.size(), "%6.2f s  ", passed.count());
  screen_->print(time.data() + std::string(what));
}

void DemoStage::show(std::string_view what, std::string_view value) {
  constexpr std::size_t indent = 10;
  constexpr std::size_t column = 12;
  std::string line(indent, ' ');
  line += what;
  line.resize(std::max(line.size(), indent + column), ' ');
  screen_->print(line + ' ' + printable(value));
}

void DemoStage::goOnAir() {
  onAir_ = ZVTimerLabel::create({.label = screen_, .mainQueue = ticks_});
  onAir_->start();
  // By itself a clock shows nothing until it ticks.
  screen_->setText(ZVTimerLabel::text(0, onAir_->timeStyle()));
  screen_->showClock(true);
}

void DemoStage::leaveAir() {
  const auto clock = std::exchange(onAir_, nullptr);
  clock->stop();
  screen_->showClock(false);
  show("on air", ZVTimerLabel::text(clock->totalSeconds(), clock->timeStyle()));
}

void DemoStage::startSandbox() {
  sandbox_ = children_->start(
      {"sandbox", "--json", "--port", "0", "--state", (folder_ / "sandbox.sqlite").string()});
  const std::string line = sandbox_->nextLine();
  if (line.empty()) throw Surprise{"the sandbox did not start: " + sandbox_->wait().error};
  url_ = textAt(parsed(line), "url");
  rtmUrl_ = textAt(parsed(line), "rtmUrl");
  show("sandbox", url_);
  show("messaging", rtmUrl_);
}

void DemoStage::stopSandbox() {
  sandbox_->signal(SIGTERM);
  const auto outcome = std::exchange(sandbox_, nullptr)->wait();
  expectEqual("the sandbox's exit status", 0, outcome.status);
}

void DemoStage::stay() {
  tell("The sandbox stays, as the story has left it; Ctrl-C ends it");
  show("look around", url_);
  show("as Mai", "export ZAVELO_API=" + url_ + " ZAVELO_RTM=" + rtmUrl_ +
                     " ZAVELO_STORE=" + (folder_ / "mai").string() + ".sqlite");
  // A terminal interrupts it too: how it ends then is no part of the story.
  static_cast<void>(std::exchange(sandbox_, nullptr)->wait());
}

std::shared_ptr<ChildProcess> DemoStage::start(std::string_view person,
                                               const std::vector<std::string>& arguments) {
  std::vector<std::string> all{"--json",
                               "--api",
                               url_,
                               "--rtm",
                               rtmUrl_,
                               "--store",
                               (folder_ / person).string() + ".sqlite"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  show(person, commandLine(arguments));
  return children_->start(all);
}

Scene DemoStage::run(std::string_view person, const std::vector<std::string>& arguments,
                     const std::string& input) {
  const auto child = start(person, arguments);
  child->write(input);
  auto outcome = child->wait();
  if (outcome.status == 0) return {std::move(outcome.output), {}, outcome.error};
  if (outcome.status == 1) return {{}, errorIn(outcome.error), outcome.error};
  throw Surprise{commandLine(arguments) + ": exit status " + std::to_string(outcome.status) + ", " +
                 outcome.error};
}

Scene Actor::run(const std::vector<std::string>& arguments, const std::string& input) {
  return stage_.run(name_, arguments, input);
}

json::Value Actor::succeed(const std::vector<std::string>& arguments, const std::string& input) {
  const auto scene = run(arguments, input);
  if (!scene.error.isNull()) throw Surprise{"expected success, got " + jsonText(scene.error)};
  return parsed(scene.output);
}

std::vector<json::Value> Actor::succeedWithAll(const std::vector<std::string>& arguments) {
  const auto scene = run(arguments);
  if (!scene.error.isNull()) throw Surprise{"expected success, got " + jsonText(scene.error)};
  std::vector<json::Value> results;
  std::istringstream lines(scene.output);
  for (std::string line; std::getline(lines, line);) results.push_back(parsed(line));
  return results;
}

void Actor::failWith(std::string_view type, const std::vector<std::string>& arguments) {
  const auto scene = run(arguments);
  if (scene.error.isNull())
    throw Surprise{"expected " + std::string(type) + ", got " + scene.output};
  expectEqual("the error", type, at(scene.error, "type"));
  stage_.show("error", std::string(type) + ": " + textAt(scene.error, "description"));
}

void DemoStage::trigger(const std::vector<std::string>& arguments) {
  std::vector<std::string> all{"--json", "--api", url_, "trigger"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  show("backend", commandLine({all.begin() + 3, all.end()}));
  const auto outcome = children_->start(all)->wait();
  if (outcome.status != 0) throw Surprise{arguments.front() + ": " + outcome.error};
}

std::string DemoStage::fetch(const std::string& url) {
  HttpRequest request;
  request.url = url;
  auto body = exchange(std::move(request));
  if (!body) throw Surprise{body.error()};
  return *std::move(body);
}

void expectEqual(std::string_view what, const json::Value& expected, const json::Value& got) {
  if (expected == got) return;
  throw Surprise{std::string(what) + ": expected " + jsonText(expected) + ", got " + jsonText(got)};
}

void expectContains(std::string_view what, std::string_view text, std::string_view part) {
  if (text.find(part) != std::string_view::npos) return;
  throw Surprise{std::string(what) + ": expected to find \"" + std::string(part) + "\", got " +
                 std::string(text)};
}

const json::Value& at(const json::Value& value, std::string_view path) {
  const auto dot = path.find('.');
  const auto* object = value.as<json::Object>();
  const auto* member = object == nullptr ? nullptr : object->find(path.substr(0, dot));
  if (member == nullptr)
    throw Surprise{"expected a value at " + std::string(path) + ", got " + jsonText(value)};
  return dot == std::string_view::npos ? *member : at(*member, path.substr(dot + 1));
}

json::Value parsed(const std::string& text) {
  auto value = json::decode<json::Value>(text);
  if (!value) throw Surprise{"expected JSON, got " + text};
  return std::move(*value);
}

std::int64_t integerAt(const json::Value& value, std::string_view path) {
  const auto number = at(value, path).as<std::int64_t>();
  if (!number) throw Surprise{"expected a number at " + std::string(path)};
  return *number;
}

const std::string& textAt(const json::Value& value, std::string_view path) {
  const auto* text = at(value, path).as<std::string>();
  if (text == nullptr) throw Surprise{"expected a text at " + std::string(path)};
  return *text;
}

}  // namespace zavelo::command
