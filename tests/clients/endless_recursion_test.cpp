// A client that calls the object from within its event, again from within the event of that call,
// and so on without end.
#include <algorithm>
#include <string>

#include "tests/clients/box_client.h"
#include "tests/clients/box_crowd.h"
#include "tests/clients/error_reports.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/registered_library.h"

namespace qmzentrel::clients {
namespace {

constexpr HRESULT kNestedCallFailed = static_cast<HRESULT>(0x800AFFFFu);

class EndlessRecursion : public WithRegisteredLibrary {
 protected:
  // How deep `client` came.
  static int Recurse(BoxClient& client) {
    int depth = 0;
    int deepest = 0;
    bool failed = false;
    client.OnEvent([&](bool) {
      deepest = std::max(deepest, ++depth);
      ZentrelStatus status{};
      const HRESULT result = client.Object()->BoxStatus(&status);
      EXPECT_EQ(result, kNestedCallFailed);
      failed = failed || result == kNestedCallFailed;
      --depth;
    });
    EXPECT_EQ(client.BoxStatus(), S_OKAY) << "the call outside all events";
    EXPECT_TRUE(failed);
    client.OnEvent([](bool) {});
    return deepest;
  }
};

TEST_F(EndlessRecursion, EndsInOneReportForEachEventAndTheOutermostCallGoesOn) {
  CrowdBox box(0);
  ErrorReports reports;
  BoxClient client;
  ASSERT_EQ(client.Open(CrowdPort(0), true), S_OKAY);
  EXPECT_GT(Recurse(client), 20);
  const auto taken = reports.Take();
  ASSERT_EQ(taken.size(), 2U) << "before and after the command";
  for (const ErrorReport& report : taken) {
    EXPECT_EQ(report.number, L"28");
    EXPECT_EQ(report.description, L"Out of stack space");
    EXPECT_EQ(report.procedure, L"Power");
  }
  box.Tell("log-clear");
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_EQ(box.Frames().size(), 2U);
  EXPECT_EQ(reports.Count(), 0);
}

TEST_F(EndlessRecursion, IsForgottenOnceTheOutermostEventHasEnded) {
  CrowdBox box(0);
  ErrorReports reports;
  BoxClient client;
  ASSERT_EQ(client.Open(CrowdPort(0), true), S_OKAY);
  EXPECT_GT(Recurse(client), 20);
  reports.Take();
  // A call from within an event whose own events come after the stack has been short.
  client.OnEvent([&](bool) {
    client.OnEvent([](bool) {});
    EXPECT_EQ(client.BoxStatus(), S_OKAY);
  });
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_EQ(reports.Count(), 0);
}

TEST_F(EndlessRecursion, EndsLikewiseOnAThreadWithASmallStack) {
  CrowdBox box(0);
  OtherApartment small(
      COINIT_APARTMENTTHREADED,
      [] {
        BoxClient client;
        ASSERT_EQ(client.Open(CrowdPort(0), true), S_OKAY);
        EXPECT_GT(Recurse(client), 3);
        EXPECT_EQ(client.BoxStatus(), S_OKAY);
      },
      256 * 1024);
  small.Join();
}

}  // namespace
}  // namespace qmzentrel::clients
