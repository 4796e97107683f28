// String and byte arrays.
#include <numeric>

#include "tests/bridge/bridge_test.h"

namespace qvtest {
namespace {

class Arrays : public BridgeTest {
 protected:
  static const FakeThing& Behind(FakeJni& jni, qv_jobject reference) {
    return *jni.Vm().Look(&jni, reference, "the test");
  }
  // Bytes of that many elements: 1, 2, 3, ... and round.
  static std::vector<jbyte> Bytes(size_t count) {
    std::vector<jbyte> bytes(count);
    std::iota(bytes.begin(), bytes.end(), jbyte{1});
    return bytes;
  }
};

// -- string arrays --

TEST_F(Arrays, AStringArrayIsFilledWithOneEmptyString) {
  qv_jarray array = this;
  EXPECT_EQ(Api().NewStringArray(&array, 3), S_OK);
  const std::vector<Thing>& elements = Behind(Jni(), array).elements;
  ASSERT_EQ(elements.size(), 3u);
  for (const Thing& element : elements) {
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(element->kind, FakeThing::Kind::String);
    EXPECT_EQ(element->text, L"");
    EXPECT_EQ(element, elements[0]);
  }
  EXPECT_EQ(Api().NewStringArray(&array, 0), S_OK);
  EXPECT_TRUE(Behind(Jni(), array).elements.empty());
}

TEST_F(Arrays, AStringArrayOfNegativeLengthLeavesItsExceptionPending) {
  qv_jarray array = this;
  EXPECT_EQ(Api().NewStringArray(&array, -1), S_OK);
  EXPECT_EQ(array, nullptr);
  ASSERT_NE(Jni().Pending(), nullptr);
  EXPECT_EQ(Jni().Pending()->label, "java.lang.NegativeArraySizeException");
  EXPECT_EQ(Log().back(), "DeleteLocalRef(\"\")");
  EXPECT_EQ(ObjectRecord(), kNoRecord);
}

TEST_F(Arrays, AnElementMayBeNullAndMustLieWithin) {
  const jobjectArray array = Jni().GivenArray(2);
  for (const jstring value : {Jni().GivenString(L"v"), jstring{nullptr}}) {
    EXPECT_EQ(Api().SetObjectArrayElement(array, 1, value), S_OK);
    const Thing& element = Behind(Jni(), array).elements[1];
    EXPECT_EQ(element != nullptr ? element->text : L"null", value != nullptr ? L"v" : L"null");
  }
  for (const int32_t index : {-1, 2}) {
    EXPECT_EQ(Api().SetObjectArrayElement(array, index, nullptr), E_FAIL);
    EXPECT_EQ(ObjectRecord(), Record(L"java.lang.ArrayIndexOutOfBoundsException: " + std::to_wstring(index), -1001));
  }
}

// -- byte arrays --

TEST_F(Arrays, AByteArrayHasItsLengthOrTheTextOfItsFailure) {
  qv_jarray array = nullptr;
  for (const int32_t length : {0, 1, 1000000}) {
    EXPECT_EQ(Api().NewByteArray(&array, length), S_OK);
    EXPECT_EQ(Behind(Jni(), array).bytes.size(), static_cast<size_t>(length));
  }
  EXPECT_EQ(Api().NewByteArray(&array, -5), E_FAIL);
  EXPECT_EQ(array, nullptr);
  EXPECT_EQ(ObjectRecord(), Record(L"java.lang.NegativeArraySizeException: -5", -1001));
  TakeEnvironmentAway();
  array = this;
  EXPECT_EQ(Api().NewByteArray(&array, 1), E_FAIL);
  EXPECT_EQ(array, nullptr);
}

TEST_F(Arrays, ExactlyTheCountedBytesAreCopied) {
  for (const int32_t count : {0, 1, 15, 16, 17, 100000}) {
    SCOPED_TRACE(count);
    const auto size = static_cast<size_t>(count);
    const std::vector<jbyte> source = Bytes(size);
    const jbyteArray array = Jni().GivenBytes(std::vector<jbyte>(size + 1, jbyte{-1}));
    constexpr int32_t kIgnored = 3;  // copying starts at element 0
    EXPECT_EQ(Api().SetByteArrayData(array, kIgnored, source.data(), count), S_OK);
    std::vector<jbyte> expected = source;
    expected.push_back(-1);
    EXPECT_EQ(Behind(Jni(), array).bytes, expected);
    std::vector<jbyte> target(size + 1, jbyte{-2});
    EXPECT_EQ(Api().GetByteArrayData(array, kIgnored, count, target.data()), S_OK);
    expected.back() = -2;
    EXPECT_EQ(target, expected);
  }
}

TEST_F(Arrays, ACountOfZeroOrLessCopiesNothingAndStillReleases) {
  const jbyteArray array = Jni().GivenBytes(Bytes(2));
  jbyte byte = 99;
  Watch();
  for (const int32_t count : {0, -1, std::numeric_limits<int32_t>::min()}) {
    for (void* const bytes : {static_cast<void*>(&byte), static_cast<void*>(nullptr)}) {
      EXPECT_EQ(Api().GetByteArrayData(array, 0, count, bytes), S_OK);
      EXPECT_EQ(Log(), Elements(46, JNI_ABORT));
      EXPECT_EQ(Api().SetByteArrayData(array, 0, bytes, count), S_OK);
      EXPECT_EQ(Log(), Elements(47, 0));
    }
  }
  EXPECT_EQ(byte, 99);
  EXPECT_EQ(Behind(Jni(), array).bytes, Bytes(2));
}

class ByteCopies : public Arrays {
 protected:
  // Reading, then writing, each on a fresh object, VM and array of two bytes.
  void ForBoth(const std::function<void(const std::function<int32_t()>& copy)>& test) {
    for (const bool reading : {true, false}) {
      SCOPED_TRACE(reading ? "reading" : "writing");
      m_bytes = {10, 20};
      m_array = Jni().GivenBytes({1, 2});
      test([&] {
        return reading ? Api().GetByteArrayData(m_array, 0, 2, m_bytes.data())
                       : Api().SetByteArrayData(m_array, 0, m_bytes.data(), 2);
      });
      Renew();
    }
  }
  void ExpectNothingCopied() {
    EXPECT_EQ(m_bytes, (std::vector<jbyte>{10, 20}));
    if (m_array != nullptr) {
      EXPECT_EQ(Behind(Jni(), m_array).bytes, (std::vector<jbyte>{1, 2}));
    }
  }

  std::vector<jbyte> m_bytes;
  qv_jarray m_array = nullptr;
};

TEST_F(ByteCopies, WithoutElementsNothingIsCopied) {
  for (const Fault fault : {Fault::Null, Fault::Throw}) {
    ForBoth([&](const auto& copy) {
      Java().FailAt("GetByteArrayElements", 1, fault);
      EXPECT_EQ(copy(), E_FAIL);
      EXPECT_EQ(ObjectRecord(),
                Record(fault == Fault::Null ? kInternal : L"java.lang.Error: GetByteArrayElements", -1001));
      ExpectNothingCopied();
    });
  }
}

TEST_F(ByteCopies, AnExceptionFromBeforeEndsItWithNothingCopiedAndNothingPinned) {
  ForBoth([&](const auto& copy) {
    LeavePending(L"java.lang.Error: from before");
    EXPECT_EQ(copy(), E_FAIL);
    EXPECT_EQ(ObjectRecord(), Record(L"java.lang.Error: from before", -1001));
    ExpectNothingCopied();
    EXPECT_EQ(Java().Pinned(), 0u);
    const Lines log = Log();
    EXPECT_EQ((Lines{log.begin(), log.begin() + 2}),
              (Lines{"GetByteArrayElements(bytes) !pending", "ExceptionOccurred()"}));
  });
}

TEST_F(ByteCopies, AnExceptionAfterTheReleaseIsReported) {
  ForBoth([&](const auto& copy) {
    Java().FailAt("ReleaseByteArrayElements", 1, Fault::Throw);
    EXPECT_EQ(copy(), E_FAIL);
    EXPECT_EQ(ObjectRecord(), Record(L"java.lang.Error: ReleaseByteArrayElements", -1001));
  });
}

TEST_F(ByteCopies, TheArrayGoesThroughSlot7) {
  ForBoth([&](const auto& copy) {
    qv_jobject const other = Jni().GivenBytes({7, 8});
    Watch().Replace<7>([&](void*, qv_jobject* out, qv_jobject) {
      *out = other;
      return S_OK;
    });
    m_array = Jni().GivenBytes({1, 2});
    EXPECT_EQ(copy(), S_OK);
    EXPECT_EQ(Behind(Jni(), m_array).bytes, (std::vector<jbyte>{1, 2}));
    EXPECT_EQ(Behind(Jni(), other).bytes, m_bytes);
  });
}

}  // namespace
}  // namespace qvtest
