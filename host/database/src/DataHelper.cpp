// The helper singleton behind KvxDbGetDataHelper.
#include <exception>
#include <memory>

#include "MaterialStore.h"
#include "SeedData.h"
#include "ToleranceText.h"
#include "kvx/platform/Environment.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Text.h"
#include "kvx_db/KVXDataHelper.h"

namespace kvx_db::detail {

namespace {

std::wstring DefaultDatabaseLocation() {
  using kvx::platform::GetEnvWide;
  using kvx::platform::JoinPath;
  if (auto chosen = GetEnvWide(L"KVX_MATERIAL_DB"); chosen && !chosen->empty()) return *chosen;
  std::wstring dataFolder;
  // A relative data folder is invalid by the desktop conventions and is ignored, as other programs do.
  if (auto data = GetEnvWide(L"XDG_DATA_HOME"); data && !data->empty() && data->front() == L'/') {
    dataFolder = *data;
  } else if (auto home = GetEnvWide(L"HOME"); home && !home->empty()) {
    dataFolder = JoinPath(JoinPath(*home, L".local"), L"share");
  } else {
    return {};
  }
  return JoinPath(JoinPath(dataFolder, L"korvex"), L"materials.sqlite");
}

// Runs `work`, turning anything thrown into an Internal outcome: nothing may leave the library.
template <typename Work>
Outcome Guarded(Work&& work) noexcept {
  try {
    return work();
  } catch (const std::exception& error) {
    try {
      return Outcome::Failure(DbStatus::Internal, L"material database: " + kvx::platform::Widen(error.what()));
    } catch (...) {
    }
  } catch (...) {
  }
  return Outcome{DbStatus::Internal, {}};
}

class DataHelper final : public KVXDataHelper {
 public:
  IDatabaseCollector* GetCollector() override { return &collector_; }

  DbStatus OpenDatabase(const std::wstring& path) override {
    return Remember(Guarded([&] { return Open(path, /*createWhenMissing=*/false); }));
  }

  DbStatus OpenDefaultDatabase() override {
    return Remember(Guarded([&] {
      const std::wstring path = DefaultDatabaseLocation();
      if (path.empty()) {
        ForgetDatabase(path);
        openOutcome_ = Outcome::Failure(DbStatus::CannotCreate,
                                        L"no place for the material database: set KVX_MATERIAL_DB or HOME");
        return openOutcome_;
      }
      return Open(path, /*createWhenMissing=*/true);
    }));
  }

  std::wstring DefaultDatabasePath() const override {
    try {
      return DefaultDatabaseLocation();
    } catch (...) {
      return {};
    }
  }

  std::wstring DatabasePath() const override {
    try {
      return path_;
    } catch (...) {
      return {};
    }
  }

  DbStatus ListMaterials(std::vector<MaterialEntry>& materials) override {
    materials.clear();
    return Remember(Guarded([&] { return Read(materials); }));
  }

  DbStatus Status() const override { return last_.status; }

  std::wstring ErrorText() const override {
    try {
      if (last_.status != DbStatus::Ok && last_.text.empty()) return L"material database: out of memory";
      return last_.text;
    } catch (...) {
      return {};
    }
  }

  bool QueryToleranceTable(std::wstring& table) {
    table.clear();
    const DbStatus status = Remember(Guarded([&] {
      std::vector<MaterialEntry> materials;
      Outcome read = Read(materials);
      if (read) table = ToleranceTableText(materials);
      return read;
    }));
    return status == DbStatus::Ok;
  }

 private:
  class Collector final : public IDatabaseCollector {
   public:
    explicit Collector(DataHelper& helper) : helper_(helper) {}
    bool QueryToleranceTable(std::wstring& table) override { return helper_.QueryToleranceTable(table); }

   private:
    DataHelper& helper_;
  };

  DbStatus Remember(Outcome outcome) {
    last_ = std::move(outcome);
    return last_.status;
  }

  void ForgetDatabase(const std::wstring& path) {
    store_.reset();
    path_ = path;
    opened_ = true;
  }

  Outcome Open(const std::wstring& path, bool createWhenMissing) {
    ForgetDatabase(path);
    openOutcome_ = {};
    if (createWhenMissing && NothingAt(path)) openOutcome_ = CreateFromShippedData(path);
    if (openOutcome_) openOutcome_ = MaterialStore::Open(path, store_);
    return openOutcome_;
  }

  static Outcome CreateFromShippedData(const std::wstring& path) {
    SeedData seed;
    std::wstring error;
    if (!ParseSeedData(ShippedMaterialsCsv(), ShippedTolerancesCsv(), seed, error)) {
      return Outcome::Failure(DbStatus::Internal, L"the shipped material data is damaged: " + error);
    }
    return CreateDatabaseFile(path, seed);
  }

  // Reads from the database in use, opening the default one on first use.
  Outcome Read(std::vector<MaterialEntry>& materials) {
    if (!opened_) OpenDefaultDatabase();
    if (!store_) return openOutcome_;
    return store_->ReadMaterials(materials);
  }

  Collector collector_{*this};
  std::unique_ptr<MaterialStore> store_;
  std::wstring path_;
  bool opened_ = false;
  Outcome openOutcome_;
  Outcome last_;
};

}  // namespace

}  // namespace kvx_db::detail

extern "C" KVX_DB_API kvx_db::KVXDataHelper* KvxDbGetDataHelper() {
  // Constructing the helper allocates nothing, so this cannot throw.
  static kvx_db::detail::DataHelper helper;
  return &helper;
}
