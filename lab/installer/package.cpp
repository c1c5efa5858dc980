#include "installer/package.h"

// What a build with the leak sanitizer asks programs for: libmsi leaves a few texts behind.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" const char* __lsan_default_suppressions() { return "leak:libmsi.so"; }

namespace Lab {
namespace {

constexpr guint kNameField = 1;
constexpr guint kDataField = 2;
// Bits of the summary's word count.
constexpr gint kCompressed = 2;
constexpr gint kImage = 4;

ObjectOwner<LibmsiQuery> Execute(LibmsiDatabase* database, const std::string& text) {
  CallError error;
  ObjectOwner<LibmsiQuery> query(libmsi_query_new(database, text.c_str(), error));
  if (query == nullptr || !libmsi_query_execute(query.get(), nullptr, error)) {
    throw InstallError(text + ": " + error.Text());
  }
  return query;
}

/// \return The next row; null behind the last.
ObjectOwner<LibmsiRecord> Fetch(LibmsiQuery* query) {
  CallError error;
  ObjectOwner<LibmsiRecord> record(libmsi_query_fetch(query, error));
  if (error.Happened()) throw InstallError(error.Text());
  return record;
}

}  // namespace

Package::Package(const std::filesystem::path& file, Mode mode) {
  CallError error;
  const guint flags = mode == Mode::kRead ? LIBMSI_DB_FLAGS_READONLY : LIBMSI_DB_FLAGS_TRANSACT;
  database_.reset(libmsi_database_new(file.c_str(), flags, nullptr, error));
  if (database_ == nullptr) throw NoPackageError(file.string() + ": " + error.Text());
}

std::vector<Package::Row> Package::Rows(const std::string& table,
                                        const std::vector<std::string>& columns) const {
  if (!libmsi_database_is_table_persistent(database_.get(), table.c_str(), nullptr)) return {};
  std::string names;
  for (const std::string& column : columns) names += (names.empty() ? "`" : ", `") + column + "`";
  const auto query = Execute(database_.get(), "SELECT " + names + " FROM `" + table + "`");
  std::vector<Row> rows;
  for (auto record = Fetch(query.get()); record != nullptr; record = Fetch(query.get())) {
    Row row;
    for (guint field = 1; field <= columns.size(); ++field) {
      const TextOwner text(libmsi_record_get_string(record.get(), field));
      row.emplace_back(text == nullptr ? "" : text.get());
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

ObjectOwner<GInputStream> Package::Stream(const std::string& name) const {
  const auto query = Execute(database_.get(), "SELECT `Name`, `Data` FROM `_Streams`");
  for (auto record = Fetch(query.get()); record != nullptr; record = Fetch(query.get())) {
    const TextOwner found(libmsi_record_get_string(record.get(), kNameField));
    if (found == nullptr || name != found.get()) continue;
    ObjectOwner<GInputStream> stream(libmsi_record_get_stream(record.get(), kDataField));
    if (stream != nullptr) return stream;
  }
  throw InstallError("no stream " + name);
}

void Package::BecomeImage(const std::vector<std::string>& cabinets) {
  for (const std::string& cabinet : cabinets) {
    Run("DELETE FROM `_Streams` WHERE `Name` = '" + cabinet + "'");
  }
  MarkAsImage();
  CallError error;
  if (!libmsi_database_commit(database_.get(), error)) throw InstallError(error.Text());
}

void Package::Run(const std::string& query) { (void)Execute(database_.get(), query); }

void Package::MarkAsImage() {
  CallError error;
  const ObjectOwner<LibmsiSummaryInfo> summary(libmsi_summary_info_new(database_.get(), 1, error));
  if (summary == nullptr) throw InstallError("no summary: " + error.Text());
  const gint words = libmsi_summary_info_get_int(summary.get(), LIBMSI_PROPERTY_SOURCE, error);
  if (error.Happened() ||
      !libmsi_summary_info_set_int(summary.get(), LIBMSI_PROPERTY_SOURCE,
                                   (words | kImage) & ~kCompressed, error) ||
      !libmsi_summary_info_persist(summary.get(), error)) {
    throw InstallError("summary: " + error.Text());
  }
}

}  // namespace Lab
