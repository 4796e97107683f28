// JDBC drivers, collections, streams, threads and time through headers that qvjvm-bind has just written: each function
// compares what Java gives. Usage: library_calls FILE, which has the address of a PostgreSQL server in it
#include <windows.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "java/math/BigDecimal.hpp"
#include "java/sql/Connection.hpp"
#include "java/sql/DatabaseMetaData.hpp"
#include "java/sql/Date.hpp"
#include "java/sql/PreparedStatement.hpp"
#include "java/sql/ResultSet.hpp"
#include "java/sql/SQLException.hpp"
#include "java/sql/Statement.hpp"
#include "java/time/DayOfWeek.hpp"
#include "java/time/Duration.hpp"
#include "java/time/LocalDate.hpp"
#include "java/time/LocalDateTime.hpp"
#include "java/time/Month.hpp"
#include "java/time/format/DateTimeFormatter.hpp"
#include "java/util/ArrayList.hpp"
#include "java/util/Arrays.hpp"
#include "java/util/Collections.hpp"
#include "java/util/Map.hpp"
#include "java/util/Map_Entry.hpp"
#include "java/util/Optional.hpp"
#include "java/util/Set.hpp"
#include "java/util/TreeMap.hpp"
#include "java/util/concurrent/ConcurrentHashMap.hpp"
#include "java/util/concurrent/CountDownLatch.hpp"
#include "java/util/concurrent/ExecutorService.hpp"
#include "java/util/concurrent/Executors.hpp"
#include "java/util/concurrent/Future.hpp"
#include "java/util/concurrent/TimeUnit.hpp"
#include "java/util/stream/Collectors.hpp"
#include "java/util/stream/Stream.hpp"
#include "org/h2/jdbcx/JdbcDataSource.hpp"
#include "org/postgresql/ds/PGSimpleDataSource.hpp"
#include "qvjvm/callbacks.hpp"
#include "tests/bind/written_calls.h"

namespace {

void Database(const qvjvm::jvm& java, const java::sql::Connection& connection, int32_t wrongTable) {
  const auto statement = connection.createStatement();
  statement.execute(
      L"create local temporary table fruits (id integer, name varchar(20), price numeric(8, 2), picked date)");
  const auto insert = connection.prepareStatement(L"insert into fruits values (?, ?, ?, ?)");
  const wchar_t* const names[] = {L"apple", L"quince", L"\u00e4pfel \U0001F34F"};
  const wchar_t* const prices[] = {L"1.99", L"2.00", L"2.01"};
  for (int32_t i = 0; i < 3; ++i) {
    insert.setInt(1, i);
    insert.setString(2, names[i]);
    insert.setBigDecimal(3, java::math::BigDecimal::valueOf(java, int64_t{199} + i, 2));
    insert.setObject(4, java::time::LocalDate::of(java, 2026, 2, 26 + i));
    insert.addBatch();
  }
  SAME(insert.executeBatch(), (std::vector<int32_t>{1, 1, 1}));

  const auto rows = statement.executeQuery(L"select * from fruits order by id");
  for (int32_t i = 0; i < 3; ++i) {
    SAME(rows.next(), true);
    SAME(rows.getInt(1), i);
    SAME(rows.getString(L"name"), names[i]);
    SAME(rows.getBigDecimal(3).toPlainString(), prices[i]);
    SAME(rows.getDate(4).toLocalDate().getDayOfMonth(), 26 + i);
    SAME(rows.getObject(L"picked").as<java::sql::Date>().toString(), L"2026-02-" + std::to_wstring(26 + i));
  }
  SAME(rows.next(), false);
  rows.close();
  SAME(connection.getMetaData().supportsTransactions(), true);
  try {
    statement.execute(L"select * from vegetables");
    SAME(false, true);
  } catch (const qvjvm::java_error& error) {
    const auto thrown = error.catch_as<java::sql::SQLException>();
    SAME(thrown.has_value() && thrown->getSQLState().starts_with(L"42") && thrown->getErrorCode() == wrongTable, true);
    SAME(error.catch_as<java::math::BigDecimal>().has_value(), false);
  }
  statement.execute(L"drop table fruits");
  connection.close();
  SAME(connection.isClosed(), true);
}

void Collections(const qvjvm::jvm& java) {
  using java::util::Map;
  const auto list = java::util::ArrayList::create(java);
  for (const char* const word : {"pear", "fig", "banana"}) list.add(word);
  java::util::Collections::sort(java, list);
  SAME(list.toString(), L"[banana, fig, pear]");
  java::util::Collections::sort(
      java, list,
      qvjvm::implement<java::util::Comparator>(java, [](const std::wstring& one, const std::wstring& other) {
        return static_cast<int32_t>(one.size()) - static_cast<int32_t>(other.size());
      }));
  SAME(list.get(0).as<std::wstring>(), L"fig");
  const auto lengths = list.stream()
                           .map(qvjvm::implement<java::util::function::Function>(
                               java, [](const std::wstring& word) { return static_cast<int32_t>(word.size()); }))
                           .collect(java::util::stream::Collectors::toList(java));
  SAME(lengths.toString(), L"[3, 4, 6]");
  const auto upper = list.stream().filter(qvjvm::implement<java::util::function::Predicate>(
      java, [](const std::wstring& word) { return word.ends_with(L"r"); }));
  const auto found = upper.findFirst();
  SAME(found.isPresent(), true);
  SAME(found.get().as<std::wstring>(), L"pear");

  const auto sorted = java::util::TreeMap::create(java);
  sorted.put("b", qvjvm::boxed{2});
  sorted.put("a", qvjvm::boxed{1});
  std::wstring all;
  for (const auto& entry : qvjvm::elements<Map::Entry>(sorted.entrySet())) {
    all += entry.getKey().as<std::wstring>() + std::to_wstring(entry.getValue().as<int32_t>());
  }
  SAME(all, L"a1b2");
  SAME(java::util::Arrays::asList(java, "x", qvjvm::boxed{1.5}).toString(), L"[x, 1.5]");
  SAME(java::util::Arrays::hashCode(java, std::vector<int32_t>{1, 2, 3}), 30817);
}

void Threads(const qvjvm::jvm& java) {
  using java::util::concurrent::TimeUnit;
  const auto counts = java::util::concurrent::ConcurrentHashMap::create(java);
  const auto pool = java::util::concurrent::Executors::newFixedThreadPool(java, 4);
  const auto ended = java::util::concurrent::CountDownLatch::create(java, 100);
  const qvjvm::global shared(counts);
  const qvjvm::global latch(ended);
  const auto task = qvjvm::implement<java::lang::Runnable>(java, [&] {
    const auto add = qvjvm::implement<java::util::function::BiFunction>(
        java, [](int32_t one, int32_t other) { return one + other; });
    shared.on_this_thread<java::util::concurrent::ConcurrentHashMap>().merge("runs", qvjvm::boxed{1}, add);
    latch.on_this_thread<java::util::concurrent::CountDownLatch>().countDown();
  });
  for (int i = 0; i < 100; ++i) pool.execute(task);
  SAME(ended.await(60, TimeUnit::SECONDS(java)), true);
  SAME(counts.get("runs").as<int32_t>(), 100);
  pool.shutdown();
  SAME(pool.awaitTermination(60, TimeUnit::SECONDS(java)), true);
}

void Time(const qvjvm::jvm& java) {
  using java::time::LocalDate;
  using java::time::LocalDateTime;
  const auto leap = LocalDate::of(java, 2024, java::time::Month::FEBRUARY(java), 29);
  SAME(leap.plusYears(1).toString(), L"2025-02-28");
  SAME(leap.isLeapYear(), true);
  SAME(leap.getDayOfWeek().name(), L"THURSDAY");
  const auto start = LocalDateTime::of(java, 2026, 1, 1, 0, 0);
  SAME(java::time::Duration::between(java, start, start.plusHours(36)).toMinutes(), 2160);
  SAME(start.format(java::time::format::DateTimeFormatter::ofPattern(java, L"yyyy/MM/dd HH:mm")), L"2026/01/01 00:00");
  SAME(java::time::Duration::get_ZERO(java).isZero(), true);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) return 2;
  try {
    const qvjvm::jvm java = qvjvm::jvm::start();
    const auto h2 = org::h2::jdbcx::JdbcDataSource::create(java);
    h2.setURL(L"jdbc:h2:mem:fruits");
    Database(java, h2.getConnection(), 42104);
    std::string address;
    std::getline(std::ifstream(argv[1]), address);
    const auto postgresql = org::postgresql::ds::PGSimpleDataSource::create(java);
    postgresql.setUrl(address);
    Database(java, postgresql.getConnection(), 0);
    Collections(java);
    Threads(java);
    Time(java);
  } catch (const qvjvm::error& error) {
    std::printf("%s\n", error.what());
    return 1;
  }
  std::printf("%d compared, %d failed\n", g_compared, g_failed);
  return g_failed == 0 ? 0 : 1;
}
