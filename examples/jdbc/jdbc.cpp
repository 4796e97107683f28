// jdbc: works with a database through its JDBC driver. Makes a table, inserts 10,000 rows through a prepared statement,
// reads every type back that the service's typed calls have, and shows what an SQL error looks like.
// An example of a host program. The driver's jar comes from the service's class path, through CLASSPATH for one.
// Exit codes: 0 done, 1 Java reported an error, 2 wrong usage, 3 no service or no JVM, 5 a row came back changed.

#include "common/program.h"
#include "common/service.h"
#include "jdbc/reading.h"

namespace example {
namespace {

constexpr wchar_t kEmbeddedDatabase[] = L"jdbc:h2:mem:readings";
constexpr int32_t kRows = 10000;
constexpr int32_t kRowsInABatch = 1000;

constexpr wchar_t kDrop[] = L"drop table if exists readings";
constexpr wchar_t kCreate[] =
    L"create table readings (id integer primary key, flag boolean, tiny smallint, letter char(1), small smallint, "
    L"large bigint, real32 real, real64 double precision, note varchar(100), amount numeric(20, 4), raw bytea)";
constexpr wchar_t kInsert[] = L"insert into readings values (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";
constexpr wchar_t kSelect[] = L"select * from readings where id <= ? order by id";
constexpr wchar_t kMistake[] = L"select depth from readings";

/// Asks the driver itself. DriverManager would look for one with the calling class's loader, and a native caller has
/// no class.
Object Connect(const Service& service, const std::wstring& url) {
  const bool postgresql = url.rfind(L"jdbc:postgresql:", 0) == 0;
  const Object driver = service.New(postgresql ? "org/postgresql/Driver" : "org/h2/Driver", "()");
  Ref connection = driver.CallObject("connect", "(Ljava/lang/String;Ljava/util/Properties;)Ljava/sql/Connection;",
                                     service.NewString(url), service.New("java/util/Properties", "()"));
  if (connection.Get() == nullptr) throw Failure{kUsage, L"neither H2 nor PostgreSQL: " + url};
  return Object(service, service.FindClass("java/sql/Connection"), std::move(connection));
}

void TellDatabase(const Service& service, const Object& connection) {
  const Object about(service, service.FindClass("java/sql/DatabaseMetaData"),
                     connection.CallObject("getMetaData", "()Ljava/sql/DatabaseMetaData;"));
  PrintLine(L"database", service.TextOf(about.CallObject("getDatabaseProductName", "()Ljava/lang/String;")) + L" " +
                             service.TextOf(about.CallObject("getDatabaseProductVersion", "()Ljava/lang/String;")));
}

void Execute(const Service& service, const Object& connection, const wchar_t* sql) {
  const Object statement(service, service.FindClass("java/sql/Statement"),
                         connection.CallObject("createStatement", "()Ljava/sql/Statement;"));
  statement.CallBoolean("execute", "(Ljava/lang/String;)Z", service.NewString(sql));
  statement.CallVoid("close", "()V");
}

Object Prepare(const Service& service, const Object& connection, const wchar_t* sql) {
  return Object(service, service.FindClass("java/sql/PreparedStatement"),
                connection.CallObject("prepareStatement", "(Ljava/lang/String;)Ljava/sql/PreparedStatement;",
                                      service.NewString(sql)));
}

Ref BytesOf(const Service& service, const std::vector<uint8_t>& bytes) {
  const auto count = static_cast<int32_t>(bytes.size());
  Ref array = service.Empty();
  service.Check(service->NewByteArray(array.Out(), count), "NewByteArray");
  service.Check(service->SetByteArrayData(array.Get(), 0, bytes.data(), count), "SetByteArrayData");
  return array;
}

void AddRow(const Service& service, const Object& insert, const Reading& row) {
  insert.CallVoid("setInt", "(II)V", 1, row.id);
  insert.CallVoid("setBoolean", "(IZ)V", 2, row.flag);
  insert.CallVoid("setByte", "(IB)V", 3, row.tiny);
  insert.CallVoid("setString", "(ILjava/lang/String;)V", 4, service.NewString(std::wstring(1, row.letter)));
  insert.CallVoid("setShort", "(IS)V", 5, row.small);
  insert.CallVoid("setLong", "(IJ)V", 6, row.large);
  insert.CallVoid("setFloat", "(IF)V", 7, row.real32);
  insert.CallVoid("setDouble", "(ID)V", 8, row.real64);
  insert.CallVoid("setString", "(ILjava/lang/String;)V", 9, service.NewString(row.note));
  insert.CallVoid("setBigDecimal", "(ILjava/math/BigDecimal;)V", 10,
                  service.New("java/math/BigDecimal", "(Ljava/lang/String;)", service.NewString(row.amount)));
  insert.CallVoid("setBytes", "(I[B)V", 11, BytesOf(service, row.raw));
  insert.CallVoid("addBatch", "()V");
}

void InsertRows(const Service& service, const Object& connection) {
  const Object insert = Prepare(service, connection, kInsert);
  for (int32_t number = 0; number < kRows; ++number) {
    AddRow(service, insert, ReadingOf(number));
    if ((number + 1) % kRowsInABatch == 0) insert.CallObject("executeBatch", "()[I");
  }
  insert.CallVoid("close", "()V");
  connection.CallVoid("commit", "()V");
  PrintLine(L"inserted", std::to_wstring(kRows) + L" rows");
}

/// GetByteArrayData copies as many bytes as it is told; how many there are, a stream over the array knows.
std::vector<uint8_t> ReadBytes(const Service& service, const Ref& array) {
  const int32_t count = service.New("java/io/ByteArrayInputStream", "([B)", array).CallInt("available", "()I");
  std::vector<uint8_t> bytes(static_cast<size_t>(count));
  service.Check(service->GetByteArrayData(array.Get(), 0, count, bytes.data()), "GetByteArrayData");
  return bytes;
}

Reading ReadRow(const Service& service, const Object& rows) {
  const auto text = [&](int32_t column) {
    return service.TextOf(rows.CallObject("getString", "(I)Ljava/lang/String;", column));
  };
  Reading row;
  row.id = rows.CallInt("getInt", "(I)I", 1);
  row.flag = rows.CallBoolean("getBoolean", "(I)Z", 2);
  row.tiny = rows.CallByte("getByte", "(I)B", 3);
  row.letter = text(4).front();
  row.small = rows.CallShort("getShort", "(I)S", 5);
  row.large = rows.CallLong("getLong", "(I)J", 6);
  row.real32 = rows.CallFloat("getFloat", "(I)F", 7);
  row.real64 = rows.CallDouble("getDouble", "(I)D", 8);
  row.note = text(9);
  const Object amount(service, service.FindClass("java/lang/Object"),
                      rows.CallObject("getObject", "(I)Ljava/lang/Object;", 10));
  row.amount = service.TextOf(amount.CallObject("toString", "()Ljava/lang/String;"));
  row.raw = ReadBytes(service, rows.CallObject("getBytes", "(I)[B", 11));
  return row;
}

/// In the order of their ids: the first row, all the others, and the second, which has the largest.
Reading ExpectedAt(int32_t place) {
  if (place == 0) return ReadingOf(0);
  return ReadingOf(place == kRows - 1 ? 1 : place + 1);
}

void CheckRows(const Service& service, const Object& connection) {
  const Object select = Prepare(service, connection, kSelect);
  select.CallVoid("setInt", "(II)V", 1, ReadingOf(1).id);
  const Object rows(service, service.FindClass("java/sql/ResultSet"),
                    select.CallObject("executeQuery", "()Ljava/sql/ResultSet;"));
  int32_t count = 0;
  for (; rows.CallBoolean("next", "()Z"); ++count) {
    const Reading found = ReadRow(service, rows);
    const Reading expected = ExpectedAt(count);
    if (found != expected) throw Failure{kWrongResult, L"wrote " + Describe(expected) + L", read " + Describe(found)};
  }
  if (count != kRows) throw Failure{kWrongResult, L"read " + std::to_wstring(count) + L" rows"};
  select.CallVoid("close", "()V");
  PrintLine(L"read back", std::to_wstring(count) + L" rows, all as written");
}

/// An error of the database is a Java exception, and its text is in the error record.
void ShowError(const Service& service, const Object& connection) {
  try {
    Execute(service, connection, kMistake);
  } catch (const Failure& failure) {
    PrintLine(L"error record", failure.text);
    connection.CallVoid("rollback", "()V");
    return;
  }
  throw Failure{kWrongResult, std::wstring(L"no error from: ") + kMistake};
}

void Jdbc(int argc, wchar_t** argv) {
  if (argc > 2) throw Failure{kUsage, L"usage: jdbc [jdbc:h2:... or jdbc:postgresql:...]"};
  const Service service(OwnFolder());
  const Object connection = Connect(service, argc == 2 ? argv[1] : kEmbeddedDatabase);
  TellDatabase(service, connection);
  connection.CallVoid("setAutoCommit", "(Z)V", false);
  Execute(service, connection, kDrop);
  Execute(service, connection, kCreate);
  InsertRows(service, connection);
  CheckRows(service, connection);
  ShowError(service, connection);
  Execute(service, connection, kDrop);
  connection.CallVoid("commit", "()V");
  connection.CallVoid("close", "()V");
}

}  // namespace
}  // namespace example

int wmain(int argc, wchar_t** argv) {
  return example::Run(L"jdbc", [=] { example::Jdbc(argc, argv); });
}
