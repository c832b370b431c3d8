#include "zavelo/platform/sqlite_key_value_store.hpp"

#include <sqlite3.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <map>
#include <mutex>
#include <type_traits>
#include <utility>

#include "zavelo/platform/deferred_calls.hpp"
#include "zavelo/platform/store_connection_internal.hpp"
#include "zavelo/platform/store_file_internal.hpp"

namespace zavelo {

using detail::SqliteError;
using detail::StoreConnection;
using detail::StoreFile;

namespace {

StoreError describe(const SqliteError& error, const std::filesystem::path& file) {
  const std::string name = "the store " + file.string();
  switch (error.code) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return {name + " is locked by another process"};
    case SQLITE_READONLY:
      return {name + " is read-only"};
    case SQLITE_FULL:
      return {"there is no room left for " + name};
    default:
      return {name + " failed: " + error.text};
  }
}

}  // namespace

class SqliteKeyValueStore::Impl {
 public:
  Impl(std::filesystem::path file, SetAsideHandler onSetAside)
      : file_(std::move(file)), onSetAside_(std::move(onSetAside)) {}

  Result<std::optional<StoreValue>, StoreError> get(std::string_view key) {
    return guarded<std::optional<StoreValue>>([&]() -> std::optional<StoreValue> {
      retry();
      const auto waiting = pending_.find(key);
      if (waiting != pending_.end()) return waiting->second.value;
      return attempt([&](StoreConnection& store) { return store.get(key); });
    });
  }

  Status<StoreError> change(std::string_view key, std::optional<StoreValue> value) {
    return guarded<std::monostate>([&]() -> Status<StoreError> {
      auto entry = pending_.try_emplace(std::string(key)).first;
      entry->second = {std::move(value), std::nullopt};
      retry(&entry->second);
      return write(entry);
    });
  }

  std::optional<StoreError> problem() const {
    const std::lock_guard lock(mutex_);
    return pending_.empty() ? std::nullopt : problem_;
  }

  Status<StoreError> flush() {
    return guarded<std::monostate>([&]() -> Status<StoreError> {
      retry(nullptr, true);
      if (connection_) connection_->purge();
      if (!pending_.empty()) return Failure{problem_.value_or(StoreError{})};
      return noFailure;
    });
  }

 private:
  /// A change that is not in the file yet.
  struct Change {
    std::optional<StoreValue> value;  ///< none removes
    /// What the file held instead when the change failed, if it could be read.
    std::optional<std::optional<StoreValue>> replaced;
  };
  using Changes = std::map<std::string, Change, std::less<>>;

  /// What `work` returns, with the store locked, or the error that kept it from that.
  template <class Value, class Work>
  Result<Value, StoreError> guarded(Work work) {
    std::vector<std::filesystem::path> setAside;
    auto result = [&]() -> Result<Value, StoreError> {
      const std::lock_guard lock(mutex_);
      try {
        noticeFork();
        if (connection_) connection_->waitForLocks(true);
        auto outcome = Result<Value, StoreError>(work());
        setAside.swap(setAside_);
        return outcome;
      } catch (...) {
        setAside.swap(setAside_);
        return Failure{currentError()};
      }
    }();
    for (const auto& kept : setAside) {
      if (onSetAside_) DeferredCalls::run([handler = onSetAside_, kept] { handler(kept); });
    }
    return result;
  }

  [[nodiscard]] StoreError currentError() const {
    try {
      throw;
    } catch (const SqliteError& error) {
      return describe(error, file_.path());
    } catch (const StoreError& error) {
      return error;
    } catch (const std::exception& error) {
      return {"the store " + file_.path().string() + ": " + error.what()};
    }
  }

  /// A connection to SQLite must not cross a fork, not even to be closed; and what is pending is
  /// the parent's to write.
  void noticeFork() {
    if (std::exchange(process_, getpid()) == getpid()) return;
    static_cast<void>(connection_.release());
    pending_.clear();
  }

  /// Tries all pending changes again, but for `except`. It waits for no lock unless it is to be
  /// `patient`: the caller wants something else.
  void retry(const Change* except = nullptr, bool patient = false) {
    if (connection_) connection_->waitForLocks(patient);
    for (auto entry = pending_.begin(); entry != pending_.end();) {
      const auto next = std::next(entry);
      if (&entry->second != except) static_cast<void>(write(entry));
      entry = next;
    }
    if (connection_) connection_->waitForLocks(true);
  }

  /// Writes one pending change. It is pending no more afterwards, or fails.
  Status<StoreError> write(Changes::iterator entry) {
    auto& [key, change] = *entry;
    try {
      // Another process has written since: that is newer than what could not be written then.
      if (!change.replaced || stored(key) == *change.replaced) write(key, change.value);
      pending_.erase(entry);
      return noFailure;
    } catch (...) {
      problem_ = currentError();
      if (!change.replaced) change.replaced = storedIfReadable(key);
      return Failure{*problem_};
    }
  }

  void write(const std::string& key, const std::optional<StoreValue>& value) {
    try {
      return attempt([&](StoreConnection& store) { store.write(key, value); });
    } catch (const SqliteError& error) {
      if (!error.needsOtherWay()) throw;
      // Only what is out of date is worth overruling a file's mode.
      const bool overrule = error.code == SQLITE_READONLY && storedIfReadable(key).has_value();
      if (!writeInPlace(key, value, overrule)) throw;
    }
  }

  bool writeInPlace(const std::string& key, const std::optional<StoreValue>& value, bool overrule) {
    std::optional<StoreFile::Opened> opened;
    if (overrule) {
      opened.emplace(file_);
      connection_.reset();
    }
    bool done = false;
    try {
      attempt([&](StoreConnection& store) { store.writeInPlace(key, value); });
      done = true;
    } catch (const SqliteError&) {  // the first error says more
    }
    if (overrule) connection_.reset();
    return done;
  }

  std::optional<StoreValue> stored(const std::string& key) {
    return attempt([&](StoreConnection& store) { return store.get(key); });
  }

  /// Waits for no lock: this follows a failure, which may have waited already.
  std::optional<std::optional<StoreValue>> storedIfReadable(const std::string& key) {
    try {
      if (connection_) connection_->waitForLocks(false);
      return stored(key);
    } catch (...) {
      return std::nullopt;
    }
  }

  template <class Work>
  std::invoke_result_t<const Work&, StoreConnection&> attempt(const Work& work) {
    constexpr int attempts = 5;
    for (int i = 1;; ++i) {
      try {
        return work(connection());
      } catch (const SqliteError& error) {
        const bool isMoved = file_.identity() != seen_;
        // The tables may have gone since the file was opened.
        const bool isDoubtful = error.damaged() || (error.code == SQLITE_ERROR && connection_);
        if (!(isDoubtful || isMoved) || i == attempts) throw;
        // Another process has set the file aside while this one opened it.
        if (isMoved) {
          connection_.reset();
          continue;
        }
        // Damage met at work: opening it again checks the whole file.
        if (connection_) {
          connection_->leaveAsItIs();
          connection_.reset();
          check_ = StoreConnection::Check::wholeFile;
          continue;
        }
      }
      if (auto kept = setAsideDamaged()) setAside_.push_back(std::move(*kept));
    }
  }

  StoreConnection& connection() {
    // Another process may have set the file aside, or a person removed it.
    if (connection_ && file_.identity() != connection_->identity()) connection_.reset();
    if (!connection_) {
      seen_ = file_.prepare();
      // A journal is what a process leaves that ended in the middle of a change.
      const auto check = file_.hasJournal() ? StoreConnection::Check::wholeFile : check_;
      connection_ = std::make_unique<StoreConnection>(file_.path(), seen_, check);
      check_ = StoreConnection::Check::none;
    }
    return *connection_;
  }

  std::optional<std::filesystem::path> setAsideDamaged() {
    if (file_.belongsToOther(StoreConnection::applicationId)) {
      throw StoreError{"the file " + file_.path().string() +
                       " is the damaged database of another program"};
    }
    return file_.setAside(seen_);
  }

  const StoreFile file_;
  const SetAsideHandler onSetAside_;
  mutable std::mutex mutex_;  // guards what follows
  std::unique_ptr<StoreConnection> connection_;
  StoreFile::Identity seen_{};                                   ///< what the last opening found
  StoreConnection::Check check_ = StoreConnection::Check::none;  ///< of the next opening
  Changes pending_;
  std::optional<StoreError> problem_;            ///< of the last change that failed
  std::vector<std::filesystem::path> setAside_;  ///< to be reported without the lock
  pid_t process_ = getpid();
};

SqliteKeyValueStore::SqliteKeyValueStore(std::filesystem::path file, SetAsideHandler onSetAside)
    : impl_(std::make_unique<Impl>(std::move(file), std::move(onSetAside))) {}

SqliteKeyValueStore::~SqliteKeyValueStore() {
  static_cast<void>(impl_->flush());
}

Result<std::optional<StoreValue>, StoreError> SqliteKeyValueStore::get(std::string_view key) {
  return impl_->get(key);
}

Status<StoreError> SqliteKeyValueStore::set(std::string_view key, const StoreValue& value) {
  return impl_->change(key, value);
}

Status<StoreError> SqliteKeyValueStore::remove(std::string_view key) {
  return impl_->change(key, std::nullopt);
}

std::optional<StoreError> SqliteKeyValueStore::pendingProblem() const {
  return impl_->problem();
}

Status<StoreError> SqliteKeyValueStore::flush() {
  return impl_->flush();
}

std::filesystem::path SqliteKeyValueStore::defaultFile() {
  const auto folder = [](const char* variable) -> std::filesystem::path {
    const char* value = std::getenv(variable);
    return value ? value : "";
  };
  constexpr const char* name = "zavelo/store.sqlite";
  // A relative path there is to be ignored, as the standard says.
  if (const auto data = folder("XDG_DATA_HOME"); data.is_absolute()) return data / name;
  const auto home = folder("HOME");
  return home.empty() ? home : home / ".local" / "share" / name;
}

}  // namespace zavelo
