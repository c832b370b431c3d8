#include "tools/zavelo/grammar/command_line.hpp"

#include "tools/zavelo/arguments/option_name.hpp"
#include "tools/zavelo/grammar/chat_grammar.hpp"
#include "tools/zavelo/grammar/options.hpp"
#include "tools/zavelo/grammar/sandbox_grammar.hpp"
#include "tools/zavelo/grammar/trigger_grammar.hpp"
#include "tools/zavelo/operations/catalogue.hpp"

namespace zavelo::command {
namespace {

const char* const description =
    "Every operation of the library from a terminal, and a backend to try it on.\n"
    "The result goes to standard output: one line of JSON with --json or when that is no "
    "terminal.\n"
    "Exit status: 0 success, 1 the operation failed, 2 wrong usage.";

/// The command line as a grammar: the catalogue's groups and operations, and the commands beside
/// them.
class Grammar {
 public:
  Grammar() : root_(description, "zavelo") {
    root_.require_subcommand(1);
    addGlobalOptions();
    for (const auto& group : catalogue()) addGroup(group);
    chat_.emplace(root_);
    replay_.emplace(root_);
    inspect_.emplace(root_);
    addCensor();
    trigger_.emplace(root_);
    sandbox_.emplace(root_);
    addDemo();
    version_ = addCommand(root_, "version", "Show the version");
  }

  Result<CommandLine, UsageError> parse(int count, const char* const* texts) {
    CommandLine line;
    try {
      root_.parse(count, texts);
      line.json = json_->count() > 0;
      line.options = globalOptions();
      line.request = request();
    } catch (const CLI::CallForHelp&) {
      line.request = ask(HelpRequest{root_.help()});
    } catch (const CLI::ParseError& error) {
      return Failure{UsageError{describe(error), helpCommand()}};
    }
    return line;
  }

 private:
  struct Leaf {
    CLI::App* app;
    const Operation* operation;
    CLI::Option* all;  // of an operation that answers with pages
    ArgumentOptions options;
  };

  void addGlobalOptions() {
    api_ = addOption(root_, "--api", "The backend's origin; the development backend if left out",
                     "URL")
               ->envname("ZAVELO_API");
    store_ = addOption(root_, "--store", "The file that keeps the session", "FILE")
                 ->envname("ZAVELO_STORE");
    appId_ =
        addOption(root_, "--app-id", "The application identifier of the messaging library", "TEXT");
    rtm_ = addOption(root_, "--rtm", "Where chat travels: mqtt://HOST:PORT or mqtts://HOST:PORT",
                     "URL")
               ->envname("ZAVELO_RTM");
    log_ = addOption(root_, "--log", "How much of each exchange goes to standard error", "LEVEL")
               ->check(CLI::IsMember({"none", "simple", "full"}));
    json_ = root_.add_flag("--json")->description("Write JSON, errors too");
  }

  void addGroup(const Group& group) {
    auto* app = addCommand(root_, std::string(group.name), group.help);
    app->require_subcommand(1);
    for (const auto& operation : group.operations) {
      auto* leaf = addCommand(*app, kebabCase(operation.name), operation.help);
      leaf->footer(std::string(globalOptionsNote));
      CLI::Option* all = nullptr;
      if (operation.isPaged)
        all = leaf->add_flag("--all")->description("Follow the pages to their end, as one list");
      leaves_.push_back({leaf, &operation, all, ArgumentOptions(*leaf, operation.arguments)});
    }
  }

  void addCensor() {
    censor_ = addCommand(root_, "censor", "Mask the banned words of the store in a text");
    text_ =
        addOption(*censor_, "TEXT", "The text; - reads it from the standard input", "")->required();
    attributed_ = censor_->add_flag("--attributed")
                      ->description(
                          "Mask as in a text with attributes: every occurrence of a word that is "
                          "between punctuation and white space somewhere, by a mask of its length");
    censor_->footer(
        "Without --attributed: tokens between single blanks, by \"***\".\n"
        "The words are those of \"zavelo user naughty-words\".\n" +
        std::string(globalOptionsNote));
  }

  GlobalOptions globalOptions() const {
    GlobalOptions options{originOf(textOf(api_)), textOf(store_), textOf(appId_), textOf(rtm_)};
    if (textOf(log_) == "simple") options.log = ZVAPIService::APILogLevel::simple;
    if (textOf(log_) == "full") options.log = ZVAPIService::APILogLevel::full;
    return options;
  }

  void addDemo() {
    demo_ = addCommand(root_, "demo", "Play a broadcast's story against a sandbox of its own");
    stay_ =
        demo_->add_flag("--stay")->description("Leave the sandbox to look around in, until Ctrl-C");
  }

  // Paths begin with a slash and are appended unchanged; a person may end an origin with one.
  static std::string originOf(std::string api) {
    while (api.ends_with('/')) api.pop_back();
    if (api.empty() || api.starts_with("http://") || api.starts_with("https://")) return api;
    throw CLI::ValidationError("--api", "expected a URL with http:// or https://, got " + api);
  }

  template <class T>
  static std::unique_ptr<const Request> ask(T request) {
    return std::make_unique<const Request>(std::move(request));
  }

  std::unique_ptr<const Request> request() const {
    if (version_->parsed()) return ask(VersionRequest{});
    if (demo_->parsed()) return ask(DemoRequest{stay_->count() > 0});
    if (censor_->parsed())
      return ask(CensorRequest{textOf(text_), attributed_->count() > 0, helpCommand()});
    if (auto asked = trigger_->request(helpCommand())) return ask(*std::move(asked));
    if (auto asked = sandbox_->request()) return ask(*std::move(asked));
    if (auto asked = chat_->request(helpCommand())) return ask(*std::move(asked));
    if (auto asked = replay_->request()) return ask(*std::move(asked));
    if (auto asked = inspect_->request(helpCommand())) return ask(*std::move(asked));
    for (const auto& leaf : leaves_)
      if (leaf.app->parsed()) return ask(operationRequest(leaf));
    return ask(HelpRequest{root_.help()});
  }

  OperationRequest operationRequest(const Leaf& leaf) const {
    return {.operation = leaf.operation,
            .arguments = leaf.options.typed(),
            .help = helpCommand(),
            .isAll = leaf.all != nullptr && leaf.all->count() > 0};
  }

  // ---- errors ----

  /// The innermost command that was named.
  const CLI::App& innermost() const {
    const CLI::App* app = &root_;
    for (auto named = app->get_subcommands(); !named.empty(); named = app->get_subcommands())
      app = named.front();
    return *app;
  }

  std::string helpCommand() const {
    std::string path = "zavelo";
    const CLI::App* app = &root_;
    for (auto named = app->get_subcommands(); !named.empty(); named = app->get_subcommands()) {
      app = named.front();
      path += " " + app->get_name();
    }
    return path + " --help";
  }

  /// "--limit: 1 required INTEGER missing", or more than one of it received.
  static std::string mismatch(const std::string& text) {
    const std::string option = text.substr(0, text.find(':'));
    return option + (text.ends_with("missing") ? " needs a value" : " is given more than once");
  }

  /// What was not expected comes first: a misspelt option also leaves the right one missing.
  std::string describe(const CLI::ParseError& error) const {
    const CLI::App& at = innermost();
    const bool isLeaf = at.get_subcommands([](const CLI::App*) { return true; }).empty();
    const auto unexpected = root_.remaining(true);
    if (!unexpected.empty()) {
      const std::string& first = unexpected.front();
      if (first.starts_with('-')) return "unknown option " + first;
      if (isLeaf) return "unexpected argument \"" + first + "\"";
      return (&at == &root_ ? "unknown command \"" : "unknown operation \"") + first + "\"";
    }
    if (error.get_name() == "ArgumentMismatch") return mismatch(error.what());
    if (error.get_name() != "RequiredError" || isLeaf) return error.what();
    return &at == &root_ ? "a command is missing" : "an operation is missing";
  }

  CLI::App root_;
  CLI::Option* api_ = nullptr;
  CLI::Option* store_ = nullptr;
  CLI::Option* appId_ = nullptr;
  CLI::Option* rtm_ = nullptr;
  CLI::Option* log_ = nullptr;
  CLI::Option* json_ = nullptr;
  std::optional<ChatGrammar> chat_;
  std::optional<ReplayGrammar> replay_;
  std::optional<InspectGrammar> inspect_;
  std::optional<SandboxGrammar> sandbox_;
  CLI::App* censor_ = nullptr;
  CLI::Option* text_ = nullptr;
  CLI::Option* attributed_ = nullptr;
  std::optional<TriggerGrammar> trigger_;
  CLI::App* demo_ = nullptr;
  CLI::Option* stay_ = nullptr;
  CLI::App* version_ = nullptr;
  std::vector<Leaf> leaves_;
};

}  // namespace

Result<CommandLine, UsageError> parseCommandLine(int count, const char* const* texts) {
  return Grammar().parse(count, texts);
}

}  // namespace zavelo::command
