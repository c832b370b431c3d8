#include "zavelo/platform/sqlite_key_value_store.hpp"

#include <sqlite3.h>

#include <cstdlib>
#include <exception>
#include <mutex>
#include <utility>

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

  /// What `work` returns for the open store, or the error that kept it from that.
  template <class Value, class Work>
  Result<Value, StoreError> with(Work work) {
    std::vector<std::filesystem::path> setAside;
    auto result = [&]() -> Result<Value, StoreError> {
      const std::lock_guard lock(mutex_);
      try {
        return attempt(work, setAside);
      } catch (const SqliteError& error) {
        return Failure{describe(error, file_.path())};
      } catch (const StoreError& error) {
        return Failure{error};
      } catch (const std::exception& error) {
        return Failure{StoreError{"the store " + file_.path().string() + ": " + error.what()}};
      }
    }();
    report(setAside);
    return result;
  }

 private:
  template <class Work>
  auto attempt(Work& work, std::vector<std::filesystem::path>& setAside) {
    constexpr int attempts = 5;
    for (int i = 1;; ++i) {
      try {
        return work(connection());
      } catch (const SqliteError& error) {
        const bool isMoved = file_.identity() != seen_;
        if (!(error.damaged() || isMoved) || i == attempts) throw;
        // Another process has set the file aside while this one opened it.
        if (isMoved) {
          connection_.reset();
          continue;
        }
        // Damage met at work: opening it again checks the whole file.
        if (std::exchange(connection_, nullptr)) continue;
      }
      if (auto kept = setAsideDamaged()) setAside.push_back(std::move(*kept));
    }
  }

  StoreConnection& connection() {
    // Another process may have set the file aside, or a person removed it.
    if (connection_ && file_.identity() != connection_->identity()) connection_.reset();
    if (!connection_) {
      seen_ = file_.prepare();
      connection_ = std::make_unique<StoreConnection>(file_.path(), seen_);
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

  void report(const std::vector<std::filesystem::path>& setAside) const {
    for (const auto& kept : setAside) {
      if (onSetAside_) onSetAside_(kept);
    }
  }

  const StoreFile file_;
  const SetAsideHandler onSetAside_;
  std::mutex mutex_;
  std::unique_ptr<StoreConnection> connection_;
  StoreFile::Identity seen_{};  ///< what the last opening found
};

SqliteKeyValueStore::SqliteKeyValueStore(std::filesystem::path file, SetAsideHandler onSetAside)
    : impl_(std::make_unique<Impl>(std::move(file), std::move(onSetAside))) {}

SqliteKeyValueStore::~SqliteKeyValueStore() = default;

Result<std::optional<StoreValue>, StoreError> SqliteKeyValueStore::get(std::string_view key) {
  return impl_->with<std::optional<StoreValue>>(
      [&](StoreConnection& store) { return store.get(key); });
}

Status<StoreError> SqliteKeyValueStore::set(std::string_view key, const StoreValue& value) {
  return impl_->with<std::monostate>([&](StoreConnection& store) {
    store.set(key, value);
    return noFailure;
  });
}

Status<StoreError> SqliteKeyValueStore::remove(std::string_view key) {
  return impl_->with<std::monostate>([&](StoreConnection& store) {
    store.remove(key);
    return noFailure;
  });
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
