// Exceptions of the client's language in the middle of commands to a box: the command ends, the
// supply counts down, and the next one finds everything in place.
#include <functional>
#include <string>
#include <vector>

#include "tests/clients/box_test.h"
#include "tests/clients/error_reports.h"
#include "tests/clients/message_pump.h"
#include "tests/clients/outside_handler.h"
#include "tests/clients/raising_window.h"
#include "tests/clients/test_catalog.h"

namespace qmzentrel::clients {
namespace {

using Command = std::function<HRESULT(_Zentrel*)>;

struct NamedCommand {
  const char* name;
  Command run;
};

// One message of type "1", which is read, written and tested alike.
class OneMessage {
 public:
  HRESULT Run(_Zentrel* object,
              HRESULT (STDMETHODCALLTYPE _Zentrel::*command)(LONG, SAFEARRAY**, SAFEARRAY**,
                                                             ZentrelStatus*)) {
    ZentrelStatus status{};
    return (object->*command)(1, &V_ARRAY(&identifiers_.Raw()), &V_ARRAY(&data_.Raw()), &status);
  }
  USHORT Locks() {
    return static_cast<USHORT>(V_ARRAY(&identifiers_.Raw())->cLocks +
                               V_ARRAY(&data_.Raw())->cLocks);
  }
  void Identifier(LONG identifier) {
    LONG first = 0;
    SafeArrayPutElement(V_ARRAY(&identifiers_.Raw()), &first, &identifier);
  }

 private:
  Value identifiers_ = Value::LongArray({8});
  Value data_ = Value::LongArray({0});
};

class BoxClientExceptions : public BoxTest {
 protected:
  void SetUp() override {
    BoxTest::SetUp();
    catalog.Fill();
    Box().Tell("message 8 1234");
    events_that_raise = nullptr;
    // Without anything of its own that a handler in the middle of the stack would leave behind.
    client.Sink().on_event = [](EventSink& sink, EXCEPINFO*) {
      const bool state = sink.states.back();
      sink.states.clear();
      if (events_that_raise != nullptr && events_that_raise(state))
        RaiseClientException(CLIENT_EXCEPTION);
      return S_OK;
    };
  }
  void TearDown() override {
    EXPECT_EQ(message.Locks(), 0);
    EXPECT_EQ(reports.Count(), 0);
    if (client.Object() != nullptr) client.Close();
    client.Release();
    EXPECT_EQ(LoadedLibrary().CanUnloadNow(), S_OK);
  }

  // For a tick on a busy machine.
  static constexpr DWORD kPatienceMs = 10000;

  using Events = bool (*)(bool state);
  static bool Every(bool /*state*/) { return true; }
  static bool Ending(bool state) { return !state; }

  // Whether the exception has left the call.
  bool LeftInEvents(Events events, const Command& command) {
    events_that_raise = events;
    _Zentrel* const object = client.Object();
    const bool left = LeftByClientException([&] { command(object); });
    events_that_raise = nullptr;
    return left;
  }

  template <class Member>
  static Command Plain(Member member) {
    return [member](_Zentrel* object) {
      ZentrelStatus status{};
      return (object->*member)(&status);
    };
  }

  std::vector<NamedCommand> Commands() {
    const auto with_message = [this](auto member) {
      return [this, member](_Zentrel* object) { return message.Run(object, member); };
    };
    return {{"BoxStatus", Plain(&_Zentrel::BoxStatus)},
            {"DeviceInit", Plain(&_Zentrel::DeviceInit)},
            {"ReadXpdr", Plain(&_Zentrel::ReadXpdr)},
            {"ResetXpdr", Plain(&_Zentrel::ResetXpdr)},
            {"TELIC2Read", with_message(&_Zentrel::TELIC2Read)},
            {"TELIC2Write", with_message(&_Zentrel::TELIC2Write)},
            {"TELIC2Test", with_message(&_Zentrel::TELIC2Test)},
            {"WriteXpdr", Plain(&_Zentrel::WriteXpdr)}};
  }

  static inline Events events_that_raise = nullptr;

  TestCatalog catalog;
  ErrorReports reports;
  OneMessage message;
  BoxClient client;
};

BOX_TEST(BoxClientExceptions, FromTheEventsOfEachCommandLeaveTheNextOneAlone) {
  Open(client);
  ASSERT_EQ(client.Read(), S_OKAY);
  for (const auto& [name, command] : Commands()) {
    for (const Events events : {&Every, &Ending}) {
      EXPECT_TRUE(LeftInEvents(events, command)) << name;
      EXPECT_EQ(message.Locks(), 0) << name;
      EXPECT_EQ(client.BoxStatus(), S_OKAY) << name;
    }
  }
}

BOX_TEST(BoxClientExceptions, ThousandTimesLeaveNothing) {
  Open(client);
  constexpr int kRounds = 1000;
  const Command read = [this](_Zentrel* object) {
    return message.Run(object, &_Zentrel::TELIC2Read);
  };
  EXPECT_LT(LeftByEachRound(kRounds, [&] { EXPECT_TRUE(LeftInEvents(&Every, read)); }), kNothing);
  ZentrelStatus status = S_BAD_SUM;
  EXPECT_EQ(message.Run(client.Object(), &_Zentrel::TELIC2Read), S_OK);
  EXPECT_EQ(client.Object()->BoxStatus(&status), S_OK);
  EXPECT_EQ(status, S_OKAY);
}

BOX_TEST(BoxClientExceptions, OnDemandLeaveTheSupplyToItsCountDown) {
  // Raised when the supply comes on, in the opening and in a command.
  EXPECT_TRUE(LeftInEvents(&Every, [](_Zentrel* object) {
    ZentrelStatus status{};
    object->put_PowerTimeout(1);
    return object->DeviceOpen(Port(), VARIANT_FALSE, &status);
  }));
  EXPECT_TRUE(PumpUntil([] { return Box().Supply() == Journal{"on", "off"}; }, kPatienceMs));
  EXPECT_TRUE(LeftInEvents(&Every, Plain(&_Zentrel::BoxStatus)));
  EXPECT_TRUE(PumpUntil(
      [] {
        return Box().Supply() == Journal{"on", "off", "on", "off"};
      },
      kPatienceMs));
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
}

BOX_TEST(BoxClientExceptions, FreeThePortWithTheObject) {
  Open(client);
  EXPECT_TRUE(LeftInEvents(&Every, Plain(&_Zentrel::BoxStatus)));
  client.Release();
  EXPECT_EQ(Box().Supply(), (Journal{"on", "off"}));
  BoxClient next;
  Open(next);
  EXPECT_EQ(next.BoxStatus(), S_OKAY);
}

BOX_TEST(BoxClientExceptions, FromAWindowDuringTheVerifyDelayEndTheWaitAlone) {
  Open(client);
  ASSERT_EQ(client.Read(), S_OKAY);
  ASSERT_EQ(client.Write(), S_OKAY);
  const RaisingWindow window;
  window.RaiseSoon();
  EXPECT_TRUE(LeftInEvents(nullptr, Plain(&_Zentrel::ReadXpdr)));
  client.Let(&_Zentrel::put_VDelay, 0);
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
}

}  // namespace
}  // namespace qmzentrel::clients
