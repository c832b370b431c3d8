#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "tools/zavelo/grammar/options.hpp"
#include "tools/zavelo/request/request.hpp"

namespace zavelo::command {

// The commands of messaging on the command line. Each tells what was asked for when it was, and
// throws a CLI::ParseError at a text that it cannot take.

class ChatGrammar {
 public:
  explicit ChatGrammar(CLI::App& root);
  [[nodiscard]] std::optional<Request> request(const std::string& help) const;

 private:
  void addMembers();
  void addSend();
  [[nodiscard]] ChatRequest chatRequest(const std::string& help) const;
  [[nodiscard]] ChatSendRequest sendRequest(const std::string& help) const;

  CLI::App* chat_;
  CLI::Option* channel_;
  CLI::Option* sendFile_;
  CLI::Option* save_;
  CLI::Option* exitAfter_;
  CLI::App* members_ = nullptr;
  CLI::Option* membersChannel_ = nullptr;
  CLI::App* send_ = nullptr;
  CLI::Option* sendChannel_ = nullptr;
  CLI::Option* type_ = nullptr;
  std::optional<ArgumentOptions> fields_;
};

class ReplayGrammar {
 public:
  explicit ReplayGrammar(CLI::App& root);
  [[nodiscard]] std::optional<Request> request() const;

 private:
  CLI::App* replay_;
  CLI::Option* address_;
  CLI::Option* speed_;
  CLI::Option* from_;
};

class InspectGrammar {
 public:
  explicit InspectGrammar(CLI::App& root);
  [[nodiscard]] std::optional<Request> request(const std::string& help) const;

 private:
  CLI::App* inspect_;
  CLI::Option* text_;
};

}  // namespace zavelo::command
