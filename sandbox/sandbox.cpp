#include "sandbox/sandbox.hpp"

#include <sodium.h>

#include <exception>
#include <utility>

#include "sandbox/api/router.hpp"
#include "sandbox/api/throttle.hpp"
#include "sandbox/channels/channels.hpp"
#include "sandbox/control/control_endpoints.hpp"
#include "sandbox/control/faults.hpp"
#include "sandbox/dashboard/call_recorder.hpp"
#include "sandbox/dashboard/dashboard_endpoints.hpp"
#include "sandbox/events/event_stream.hpp"
#include "sandbox/gifts/gift_endpoints.hpp"
#include "sandbox/gifts/gift_pictures.hpp"
#include "sandbox/http/http_server.hpp"
#include "sandbox/media/files.hpp"
#include "sandbox/products/product_endpoints.hpp"
#include "sandbox/seed/seed.hpp"
#include "sandbox/seed/seed_endpoints.hpp"
#include "sandbox/seed/seed_loader.hpp"
#include "sandbox/settings/settings.hpp"
#include "sandbox/state/database.hpp"
#include "sandbox/streams/stream_endpoints.hpp"
#include "sandbox/users/sessions.hpp"
#include "sandbox/users/user_endpoints.hpp"
#include "zavelo/testing/fault_script.hpp"

namespace zavelo::sandbox {

/// The one place where the parts meet. In the order of their dependence.
struct Sandbox::Parts {
  Parts(const SandboxOptions& options, std::unique_ptr<HttpServer> bound,
        std::unique_ptr<Database> opened, RunSettings seeded)
      : url("http://127.0.0.1:" + std::to_string(bound->port())),
        database(std::move(opened)),
        sessions(options.clock ? options.clock : std::make_shared<SystemClock>(),
                 {options.accessTokenLifetime, options.refreshTokenLifetime, options.refreshGrace}),
        run(std::move(seeded)),
        server(std::move(bound)) {
    if (settings.config.find("profileImageUrl") == nullptr) {
      settings.config.set("profileImageUrl", url + "/media/profiles/");
    }
    channels.add(chat);
    router.add(signInEndpoints(userContext));
    router.add(profileEndpoints(userContext));
    router.add(settingsEndpoints(settings));
    router.add(streamLifeEndpoints(streamContext));
    router.add(streamListEndpoints(streamContext));
    router.add(audienceEndpoints(streamContext));
    router.add(studioEndpoints(streamContext));
    router.add(productEndpoints(streamContext));
    router.add(giftEndpoints(giftContext));
    router.add(giftPictureEndpoints(settings));
    router.add(mediaEndpoints(*database));
    router.add(controlEndpoints(controlContext));
    router.add(seedEndpoints(seedContext));
    router.add(pageEndpoints());
    router.add(callLogEndpoints(dashboardContext));
    router.add(peopleEndpoints(dashboardContext));
    router.add(broadcastEndpoints(dashboardContext));
    router.add(eventStreamEndpoints(feed));
    router.wrap([this](const Request& request, const Router::Proceed& proceed) {
      return faults.around(request, proceed);
    });
  }

  Result<Identity, Problem> identify(std::string_view accessToken) {
    return database->transact(
        [&](Transaction& transaction) { return sessions.identify(transaction, accessToken); });
  }

  std::string url;
  std::unique_ptr<Database> database;
  Sessions sessions;
  Throttle throttle;
  FaultInjector faults{[this](std::string_view path) { return router.serves(path); }};
  Router router{[this](std::string_view accessToken) { return identify(accessToken); }};
  RunSettings run;
  Settings& settings = run.settings;
  UserContext userContext{*database, sessions, throttle, url};
  StreamContext streamContext{*database, sessions, throttle, settings, url};
  EventFeed feed;
  CallLog log{feed};
  StateWatch watch{*database, feed, [this] { return sessions.now(); }};
  ChatLog chat{{feed, [this] { return sessions.now(); },
                [this](const std::string& userId) { return namesOf(*database, userId); },
                [this] { watch.touch(); }}};
  Channels channels{*database, sessions, url};
  GiftContext giftContext{streamContext,
                          [this](const GivenGift& gift) { channels.noteGift(gift); }};
  ControlContext controlContext{*database, sessions, throttle, faults, giftContext, channels};
  SeedContext seedContext{*database, run};
  DashboardContext dashboardContext{*database,
                                    log,
                                    chat,
                                    watch,
                                    settings,
                                    [this] { return sessions.now(); },
                                    [this] { return router.paths(); }};
  CallRecorder recorder{{router, log, [this] { return sessions.now(); },
                         [this](const Request& request) { return callerOf(*database, request); },
                         [this] { watch.touch(); }}};
  std::unique_ptr<HttpServer> server;
};

namespace {

Failure<std::string> unusableScript(const std::filesystem::path& file, const std::string& why) {
  return Failure{"cannot use \"" + file.string() + "\" as the fault script: " + why};
}

/// An empty path: nothing is broken on purpose.
testing::FaultScript faultsIn(const std::filesystem::path& file) {
  return file.empty() ? testing::FaultScript(std::vector<testing::Fault>{})
                      : testing::readFaultFile(file);
}

Failure<std::string> brokerless(const std::string& why) {
  return Failure{why + " (another port: --broker-port, no broker: --no-broker)"};
}

}  // namespace

Sandbox::Sandbox(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {}

Sandbox::~Sandbox() {
  stop();
}

Result<std::unique_ptr<Sandbox>, std::string> Sandbox::start(const SandboxOptions& options) {
  try {
    if (sodium_init() < 0) return Failure{std::string("no random numbers are to be had")};
    auto seed = readSeed(options.seed);
    if (!seed) return Failure{unusableSeed(options.seed, seed.error())};
    const auto script = faultsIn(options.faults);
    if (!script) return unusableScript(options.faults, script.error());
    auto server = HttpServer::bind(options.port);
    if (!server) return Failure{std::move(server).error()};
    auto database = Database::open(options.state);
    if (!database) return Failure{std::move(database).error()};
    auto parts = std::make_unique<Parts>(options, std::move(*server), std::move(*database),
                                         RunSettings(*seed));
    if (const auto loaded = loadSeed(*seed, *parts->database, parts->sessions.now()); !loaded) {
      return Failure{unusableSeed(options.seed, loaded.error())};
    }
    if (const auto problem = parts->faults.add(*script)) {
      return unusableScript(options.faults, *problem);
    }
    if (options.brokerPort) {
      const auto opened = parts->channels.open(*options.brokerPort, options.statisticsPeriod);
      if (!opened) return brokerless(opened.error());
    }
    parts->server->run(parts->recorder);
    return std::unique_ptr<Sandbox>(new Sandbox(std::move(parts)));
  } catch (const std::exception& error) {
    return Failure{std::string("the sandbox cannot start: ") + error.what()};
  }
}

std::uint16_t Sandbox::port() const noexcept {
  return parts_->server->port();
}

const std::string& Sandbox::url() const noexcept {
  return parts_->url;
}

std::optional<std::string> Sandbox::rtmUrl() const {
  return parts_->channels.url();
}

void Sandbox::stop() {
  parts_->faults.stop();
  parts_->feed.stop();
  parts_->server->stop();
  parts_->channels.close();
  parts_->watch.stop();
}

}  // namespace zavelo::sandbox
