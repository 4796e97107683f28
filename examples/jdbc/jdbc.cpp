// jdbc: works with a database through its JDBC driver. Makes a table, inserts 10,000 rows through a prepared statement,
// reads every type back that Java's calls have, and shows what an SQL error looks like.
// An example of a host program. The driver's jar comes from the service's class path, through CLASSPATH for one.
// Exit codes: 0 done, 1 Java reported an error, 2 wrong usage, 3 no service or no JVM, 5 a row came back changed.

#include "common/program.h"
#include "jdbc/reading.h"

namespace example {
namespace {

constexpr wchar_t kEmbeddedDatabase[] = L"jdbc:h2:mem:readings";
constexpr int32_t kRows = 10000;
constexpr int32_t kRowsInABatch = 1000;

constexpr wchar_t kDrop[] = L"drop table readings";
constexpr wchar_t kCreate[] =
    L"create local temporary table readings (id integer primary key, flag boolean, tiny smallint, letter char(1), "
    L"small smallint, large bigint, real32 real, real64 double precision, note varchar(100), amount numeric(20, 4), "
    L"raw bytea)";
constexpr wchar_t kInsert[] = L"insert into readings values (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";
constexpr wchar_t kSelect[] = L"select * from readings where id <= ? order by id";
constexpr wchar_t kMistake[] = L"select depth from readings";

using Connection = qvjvm::instance<"java/sql/Connection">;
using Statement = qvjvm::instance<"java/sql/Statement">;
using PreparedStatement = qvjvm::instance<"java/sql/PreparedStatement", Statement>;
using ResultSet = qvjvm::instance<"java/sql/ResultSet">;

/// Asks the driver itself. DriverManager would look for one with the calling class's loader, and a native caller has
/// no class.
Connection Connect(const qvjvm::jvm& java, const std::wstring& url) {
  const bool postgresql = url.rfind(L"jdbc:postgresql:", 0) == 0;
  const auto driver = java.find_class(postgresql ? "org/postgresql/Driver" : "org/h2/Driver").create();
  auto connection = driver.call<Connection>("connect", url, java.create<"java/util/Properties">());
  if (!connection) throw Failure{kUsage, L"neither H2 nor PostgreSQL: " + url};
  return connection;
}

void TellDatabase(const Connection& connection) {
  const auto about = connection.call<"getMetaData", qvjvm::instance<"java/sql/DatabaseMetaData">>();
  PrintLine(L"database", about.call<"getDatabaseProductName", std::wstring>() + L" " +
                             about.call<"getDatabaseProductVersion", std::wstring>());
}

void Execute(const Connection& connection, const wchar_t* sql) {
  const auto statement = connection.call<"createStatement", Statement>();
  statement.call<"execute", bool>(sql);
  statement.call<"close">();
}

void AddRow(const qvjvm::jvm& java, const PreparedStatement& insert, const Reading& row) {
  insert.call<"setInt">(1, row.id);
  insert.call<"setBoolean">(2, row.flag);
  insert.call<"setByte">(3, row.tiny);
  insert.call<"setString">(4, std::wstring(1, row.letter));
  insert.call<"setShort">(5, row.small);
  insert.call<"setLong">(6, row.large);
  insert.call<"setFloat">(7, row.real32);
  insert.call<"setDouble">(8, row.real64);
  insert.call<"setString">(9, row.note);
  insert.call<"setBigDecimal">(10, java.create<"java/math/BigDecimal">(row.amount));
  insert.call<"setBytes">(11, row.raw);
  insert.call<"addBatch">();
}

void InsertRows(const qvjvm::jvm& java, const Connection& connection) {
  const auto insert = connection.call<"prepareStatement", PreparedStatement>(kInsert);
  for (int32_t number = 0; number < kRows; ++number) {
    AddRow(java, insert, ReadingOf(number));
    if ((number + 1) % kRowsInABatch == 0) insert.call<"executeBatch", std::vector<int32_t>>();
  }
  insert.call<"close">();
  connection.call<"commit">();
  PrintLine(L"inserted", std::to_wstring(kRows) + L" rows");
}

Reading ReadRow(const ResultSet& rows) {
  Reading row;
  row.id = rows.call<"getInt", int32_t>(1);
  row.flag = rows.call<"getBoolean", bool>(2);
  row.tiny = rows.call<"getByte", int8_t>(3);
  row.letter = rows.call<"getString", std::wstring>(4).at(0);
  row.small = rows.call<"getShort", int16_t>(5);
  row.large = rows.call<"getLong", int64_t>(6);
  row.real32 = rows.call<"getFloat", float>(7);
  row.real64 = rows.call<"getDouble", double>(8);
  row.note = rows.call<"getString", std::wstring>(9);
  const auto amount = rows.call<"getBigDecimal", qvjvm::instance<"java/math/BigDecimal">>(10);
  row.amount = amount.call<"toString", std::wstring>();
  row.raw = rows.call<"getBytes", std::vector<uint8_t>>(11);
  return row;
}

/// In the order of their ids: the first row, all the others, and the second, which has the largest.
Reading ExpectedAt(int32_t place) {
  if (place == 0) return ReadingOf(0);
  return ReadingOf(place == kRows - 1 ? 1 : place + 1);
}

void CheckRows(const Connection& connection) {
  const auto select = connection.call<"prepareStatement", PreparedStatement>(kSelect);
  select.call<"setInt">(1, ReadingOf(1).id);
  const auto rows = select.call<"executeQuery", ResultSet>();
  int32_t count = 0;
  for (; rows.call<"next", bool>(); ++count) {
    const Reading found = ReadRow(rows);
    const Reading expected = ExpectedAt(count);
    if (found != expected) throw Failure{kWrongResult, L"wrote " + Describe(expected) + L", read " + Describe(found)};
  }
  if (count != kRows) throw Failure{kWrongResult, L"read " + std::to_wstring(count) + L" rows"};
  select.call<"close">();
  PrintLine(L"read back", std::to_wstring(count) + L" rows, all as written");
}

/// An error of the database is a Java exception.
void ShowError(const Connection& connection) {
  try {
    Execute(connection, kMistake);
  } catch (const qvjvm::java_error& error) {
    PrintLine(L"SQL error", error.message());
    connection.call<"rollback">();
    return;
  }
  throw Failure{kWrongResult, std::wstring(L"no error from: ") + kMistake};
}

void Jdbc(int argc, wchar_t** argv) {
  if (argc > 2) throw Failure{kUsage, L"usage: jdbc [jdbc:h2:... or jdbc:postgresql:...]"};
  const qvjvm::jvm java = StartJava();
  const Connection connection = Connect(java, argc == 2 ? argv[1] : kEmbeddedDatabase);
  TellDatabase(connection);
  connection.call<"setAutoCommit">(false);
  Execute(connection, kCreate);  // the session's own: a table of that name is neither lost nor seen by others
  InsertRows(java, connection);
  CheckRows(connection);
  ShowError(connection);
  Execute(connection, kDrop);
  connection.call<"commit">();
  connection.call<"close">();
}

}  // namespace
}  // namespace example

int wmain(int argc, wchar_t** argv) {
  return example::Run(L"jdbc", [=] { example::Jdbc(argc, argv); });
}
