// Sub-device messages over the wire, byte for byte.
#include <functional>
#include <iterator>
#include <vector>

#include "tests/clients/box_test.h"
#include "tests/clients/sub_device_messages.h"
#include "tests/clients/test_catalog.h"

namespace qmzentrel::clients {
namespace {

class BoxSubDevice : public BoxTest {
 protected:
  void SetUp() override {
    BoxTest::SetUp();
    catalog.Fill();
    Box().Tell("message 8 1234");
    Box().Tell("message 9 5678");
    Box().Tell("message 17 89ABCDEF");
    Open(client);
    ASSERT_EQ(Let(client.Object(), L"TELIC2Device", Value::Text(L"1")).result, S_OK);
  }

  ZentrelStatus Run(Messages::Command command, Messages& messages) {
    return messages.Run(client.Object(), command);
  }

  // As many messages without a reply as fit a frame, and the frame: 19 bytes, 22 ms on the wire.
  static constexpr LONG kNoReply = 3;
  static Messages LongTest() { return Messages(std::vector<LONG>(15, kNoReply)); }
  static constexpr const char* kLongFrame =
      "> 7E 00 C9 0F 03 03 03 03 03 03 03 03 03 03 03 03 03 03 03";

  TestCatalog catalog;
  BoxClient client;
};

using Numbers = std::vector<LONG>;

BOX_TEST(BoxSubDevice, SeveralMessagesAreReadInOneExchange) {
  Messages messages({8, 17, 9});
  EXPECT_EQ(Run(&_Zentrel::TELIC2Read, messages), S_OKAY);
  EXPECT_EQ(Box().Frames(),
            (Journal{"> 7E 20 C7 03 08 11 09", "< 7E 20 C7 0B 08 12 34 11 89 AB CD EF 09 56 78"}));
  EXPECT_EQ(messages.Received(), (Numbers{0x1234, static_cast<LONG>(0x89ABCDEF), 0x5678}));
}

BOX_TEST(BoxSubDevice, NoMessageAtAllIsReadAsTheBareHeader) {
  Messages none({});
  EXPECT_EQ(Run(&_Zentrel::TELIC2Read, none), S_OKAY);
  EXPECT_EQ(Box().Frames(), (Journal{"> 7E 20 C7 00", "< 7E 20 C7 00"}));
}

BOX_TEST(BoxSubDevice, WhatIsWrittenIsEchoedAndStored) {
  Messages messages({8, 17}, {0x7FEE, -2});
  EXPECT_EQ(Run(&_Zentrel::TELIC2Write, messages), S_OKAY);
  EXPECT_EQ(Box().Frames(), (Journal{"> 7E 20 C6 08 08 7F EE 11 FF FF FF FE",
                                     "< 7E 20 C6 08 08 7F EE 11 FF FF FF FE"}));
  Messages read_back({8, 17});
  EXPECT_EQ(Run(&_Zentrel::TELIC2Read, read_back), S_OKAY);
  EXPECT_EQ(read_back.Received(), (Numbers{0x7FEE, -2}));
}

BOX_TEST(BoxSubDevice, ATestThatRepliesIsAskedToAnswer) {
  Box().Tell("test 0 0 BEEF");
  Box().Tell("test 2 4 01020304");
  Messages messages({0, 2}, {0, 0x0A0B0C0D});
  EXPECT_EQ(Run(&_Zentrel::TELIC2Test, messages), S_OKAY);
  EXPECT_EQ(Box().Frames(),
            (Journal{"> 7E 20 C9 06 00 02 0A 0B 0C 0D", "< 7E 20 C9 08 00 BE EF 02 01 02 03 04"}));
  EXPECT_EQ(messages.Received(), (Numbers{0xBEEF, 0x01020304}));
}

BOX_TEST(BoxSubDevice, ATestWithoutAReplyIsSentOnceAndNothingIsAwaited) {
  Messages messages({3, 1}, {0, 0x5A});
  EXPECT_EQ(Run(&_Zentrel::TELIC2Test, messages), S_OKAY);
  Box().AwaitFrames(1);
  EXPECT_EQ(Box().Frames(), Journal{"> 7E 00 C9 03 03 01 5A"});
}

BOX_TEST(BoxSubDevice, ATestWithoutAReplyIsReceivedWholeThoughTheDeviceIsClosedNext) {
  Journal expected;
  for (int round = 0; round < 10; ++round) {
    Messages messages = LongTest();
    ASSERT_EQ(Run(&_Zentrel::TELIC2Test, messages), S_OKAY);
    client.Close();
    expected.emplace_back(kLongFrame);
    Box().AwaitFrames(expected.size());
    Open(client);
  }
  EXPECT_EQ(Box().Frames(), expected);
}

// The box takes each byte when it would have passed the wire, and loses it when its supply has
// dropped by then.
BOX_TEST(BoxSubDevice, ATestWithoutAReplyIsReceivedWholeThroughASlowWireWhateverIsDoneNext) {
  client.Close();
  Box().Tell("set intake 1");
  const std::function<void(BoxClient&)> nexts[] = {[](BoxClient& one) { one.Close(); },
                                                   [](BoxClient& one) { Open(one); },
                                                   [](BoxClient& one) { one.Release(); }};
  Journal expected;
  for (std::size_t round = 0; round < 10; ++round) {
    BoxClient one;
    Open(one);
    ASSERT_EQ(Let(one.Object(), L"TELIC2Device", Value::Text(L"1")).result, S_OK);
    Messages messages = LongTest();
    ASSERT_EQ(messages.Run(one.Object(), &_Zentrel::TELIC2Test), S_OKAY);
    nexts[round % std::size(nexts)](one);
    expected.emplace_back(kLongFrame);
    Box().AwaitFrames(expected.size());
  }
  EXPECT_EQ(Box().Frames(), expected);
}

BOX_TEST(BoxSubDevice, ATestWithoutAReplyThroughAPortThatIsGoneIsATimeOut) {
  Box().Tell("unplug");
  Messages messages = LongTest();
  EXPECT_EQ(Run(&_Zentrel::TELIC2Test, messages), S_TIMEOUT);
}

BOX_TEST(BoxSubDevice, ASilentBoxIsATimeOutAndAShortReplyABadOne) {
  Messages messages({8});
  Box().Tell("silence");
  EXPECT_EQ(Run(&_Zentrel::TELIC2Read, messages), S_TIMEOUT);
  Box().Tell("silence");
  EXPECT_EQ(Run(&_Zentrel::TELIC2Write, messages), S_TIMEOUT);
  EXPECT_EQ(messages.Received(), Numbers{0});
}

BOX_TEST(BoxSubDevice, TheSupplyIsSwitchedOffAfterACommandOnDemand) {
  client.Close();
  Box().Reset();
  ASSERT_EQ(client.Open(Port(), false), S_OKAY);
  client.Let(&_Zentrel::put_PowerTimeout, 0);
  Messages messages({8});
  EXPECT_EQ(Run(&_Zentrel::TELIC2Read, messages), S_OKAY);
  EXPECT_EQ(Box().Supply(), Journal{"on"});
}

// Arrays of variants are all that scripts have.
BOX_TEST(BoxSubDevice, AnArrayOfVariantsGetsWhatWasRead) {
  Value ids = Value::VariantArray({Value::Short(8), Value::Text(L"9")});
  Value data = Value::VariantArray({Value::Text(L"4660"), {}, Value::Text(L"kept")});
  EXPECT_EQ(
      Call(client.Object(), L"TELIC2Read", {Value::Long(2), ids, Value::TypedReferenceTo(data)})
          .value.AsLong(),
      S_OKAY);
  const auto* const elements = static_cast<VARIANT*>(V_ARRAY(&data.Raw())->pvData);
  ASSERT_EQ(V_VT(&elements[0]), VT_I4) << "the same number, but as a number";
  EXPECT_EQ(V_I4(&elements[0]), 0x1234);
  ASSERT_EQ(V_VT(&elements[1]), VT_I4);
  EXPECT_EQ(V_I4(&elements[1]), 0x5678);
  EXPECT_EQ(V_VT(&elements[2]), VT_BSTR);
}

BOX_TEST(BoxSubDevice, AnArrayOfVariantsStaysAsItIsWhenNoReplyFillsIt) {
  Value data = Value::VariantArray({Value::Text(L"1"), Value::Text(L"2")});
  const auto* const elements = static_cast<VARIANT*>(V_ARRAY(&data.Raw())->pvData);
  const auto read = [&](const std::vector<LONG>& ids) {
    return Call(client.Object(), L"TELIC2Read",
                {Value::Long(static_cast<LONG>(ids.size())), Value::LongArray(ids),
                 Value::TypedReferenceTo(data)})
        .value.AsLong();
  };
  Box().Tell("silence");
  EXPECT_EQ(read({8}), S_TIMEOUT);
  EXPECT_EQ(V_VT(&elements[0]), VT_BSTR);
  EXPECT_EQ(read({9}), S_OKAY);
  EXPECT_EQ(V_VT(&elements[0]), VT_I4);
  EXPECT_EQ(V_VT(&elements[1]), VT_BSTR) << "beside the one message of the reply";
}

BOX_TEST(BoxSubDevice, AReplyWithMoreThanAnArrayOfVariantsHoldsIsAFaultThatKeepsWhatHadRoom) {
  Value data = Value::VariantArray({Value::Text(L"1")});
  Box().Tell("garbage 1 9");
  const Outcome outcome =
      Call(client.Object(), L"TELIC2Read",
           {Value::Long(1), Value::LongArray({17}), Value::TypedReferenceTo(data)});
  EXPECT_EQ(outcome.scode, static_cast<HRESULT>(0x800AFFFF));
  EXPECT_EQ(V_VT(static_cast<VARIANT*>(V_ARRAY(&data.Raw())->pvData)), VT_I4);
}

// The array belongs to the command until it is over, even for the client's own event.
BOX_TEST(BoxSubDevice, AnEventCannotTakeTheArrayAwayAndMayUseItInAnotherCall) {
  Messages messages({8, 9});
  std::vector<HRESULT> destroyed;
  std::vector<ZentrelStatus> nested;
  client.OnEvent([&](bool new_state) {
    if (!new_state || !nested.empty()) return;
    nested.push_back(S_TIMEOUT);
    nested.back() = Run(&_Zentrel::TELIC2Read, messages);
    destroyed.push_back(SafeArrayDestroyData(*messages.Data()));
  });
  EXPECT_EQ(Run(&_Zentrel::TELIC2Read, messages), S_OKAY);
  EXPECT_EQ(nested, std::vector<ZentrelStatus>{S_OKAY});
  EXPECT_EQ(destroyed, std::vector<HRESULT>{DISP_E_ARRAYISLOCKED});
  EXPECT_EQ(messages.Received(), (Numbers{0x1234, 0x5678}));
}

BOX_TEST(BoxSubDevice, AnEventCannotTakeAnArrayOfVariantsAway) {
  Value data = Value::VariantArray({{}});
  SAFEARRAY* const array = V_ARRAY(&data.Raw());
  std::vector<HRESULT> destroyed;
  client.OnEvent([&](bool) { destroyed.push_back(SafeArrayDestroyData(array)); });
  EXPECT_EQ(Call(client.Object(), L"TELIC2Read",
                 {Value::Long(1), Value::LongArray({8}), Value::TypedReferenceTo(data)})
                .value.AsLong(),
            S_OKAY);
  ASSERT_FALSE(destroyed.empty());
  EXPECT_EQ(destroyed.front(), DISP_E_ARRAYISLOCKED);
  EXPECT_EQ(V_I4(static_cast<VARIANT*>(array->pvData)), 0x1234);
}

}  // namespace
}  // namespace qmzentrel::clients
