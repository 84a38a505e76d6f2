// How what the component does grows with what there is to do, and how the least grows that the same
// takes. One table, a line for each size.
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <numeric>
#include <span>
#include <string>
#include <vector>

#include "bench/box_status.h"
#include "bench/measure.h"
#include "bench/opened_device.h"
#include "bench/raw_port.h"
#include "platform/win32/bstr.h"
#include "platform/win32/handle.h"
#include "support/dump_variable.h"
#include "tests/clients/box_crowd.h"
#include "tests/clients/com_client.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/test_catalog.h"

namespace {

using namespace qmzentrel;
using namespace qmzentrel::bench;

// What one size takes, in microseconds: the component, and the raw program.
void Compare(const char* curve, int size, unsigned rounds, const Way& component, const Way& raw) {
  const auto samples = Taken(static_cast<int>(rounds), {component, raw});
  std::printf("%s\t%d\t%.2f\t%.2f\n", curve, size, Quantile(samples[0], 0.5) / 1000,
              Quantile(samples[1], 0.5) / 1000);
  std::fflush(stdout);
}

constexpr unsigned kRounds = 31;

// --- Registry ---

// A key of HKEY_LOCAL_MACHINE\SOFTWARE\QuenmoorComms, open.
class RawKey {
 public:
  explicit RawKey(const std::string& path) {
    const std::string whole = "SOFTWARE\\QuenmoorComms\\" + path;
    Require(RegOpenKeyExA(HKEY_LOCAL_MACHINE, whole.c_str(), 0, KEY_READ, &key_) == ERROR_SUCCESS,
            "no key");
  }
  RawKey(const RawKey& parent, const std::string& name) {
    Require(RegOpenKeyExA(parent.key_, name.c_str(), 0, KEY_READ, &key_) == ERROR_SUCCESS,
            "no key below");
  }
  ~RawKey() { RegCloseKey(key_); }
  RawKey(const RawKey&) = delete;
  RawKey& operator=(const RawKey&) = delete;

  void Ask(const char* name) const {
    std::array<BYTE, 256> data{};
    DWORD size = data.size();
    Require(RegQueryValueExA(key_, name, nullptr, nullptr, data.data(), &size) == ERROR_SUCCESS,
            "no value");
  }

 private:
  HKEY key_ = nullptr;
};

// --- An object that finds a catalog of so many interfaces ---

constexpr std::array kInterfaces{8, 16, 32, 64, 128, 256};

void MeasureInterfaces(clients::TestCatalog& catalog) {
  const auto kept = clients::NewZentrel();
  for (const int count : kInterfaces) {
    catalog.Number(L"Kernel\\MIF", L"Max", static_cast<DWORD>(count - 2));  // from -1 on
    for (int i = -1; i <= count - 2; ++i) {
      const std::wstring number = std::to_wstring(i);
      catalog.Text(L"Kernel\\MIF\\" + number, L"", L"Meter interface number " + number);
    }
    Compare("interfaces", count, kRounds, Repeated("", 2, [] { clients::NewZentrel(); }),
            Repeated("", 2, [count] {
              const RawKey interfaces("Kernel\\MIF");
              interfaces.Ask("Max");
              for (int i = -1; i <= count - 2; ++i) RawKey(interfaces, std::to_string(i)).Ask("");
              const RawKey intervals("Kernel\\TXI");
              for (int i = 0; i <= 15; ++i) intervals.Ask(std::to_string(i).c_str());
            }));
  }
}

// --- A command of so many test messages, up to where the box would be asked ---

constexpr std::array kMessages{1, 2, 4, 8, 16, 29};
// More are refused as too long, once all of them have been looked at.
constexpr int kMostInFrame = 16;

void MeasureMessages(clients::TestCatalog& catalog) {
  const std::wstring tests = L"TELIC2\\Types\\1\\TestMessages\\";
  for (int i = 0; i < kMessages.back(); ++i) {
    catalog.Number(tests + std::to_wstring(i), L"RBytes", 0);
    catalog.Number(tests + std::to_wstring(i), L"PBytes", 0);
  }
  const auto zentrel = clients::NewZentrel();
  Require(zentrel->put_TELIC2Device(platform::OwnedBstr(L"1").Get()) == S_OK, "no device");
  for (const int count : kMessages) {
    std::vector<LONG> identifiers(static_cast<std::size_t>(count));
    std::iota(identifiers.begin(), identifiers.end(), 0);
    auto message_ids = clients::Value::LongArray(identifiers);
    auto data = clients::Value::LongArray(identifiers);
    Compare("messages", count, kRounds,
            Repeated("", 2,
                     [&] {
                       ZentrelStatus status = S_OKAY;
                       Require(zentrel->TELIC2Test(count, &V_ARRAY(&message_ids.Raw()),
                                                   &V_ARRAY(&data.Raw()), &status) == S_OK &&
                                   status == (count > kMostInFrame ? S_MSG_TOO_LONG : S_BAD_PORT),
                               "TELIC2Test");
                     }),
            Repeated("", 2, [count] {
              for (int i = 0; i < count; ++i) {
                const RawKey message("TELIC2\\Types\\1\\TestMessages\\" + std::to_string(i));
                message.Ask("RBytes");
                message.Ask("PBytes");
              }
            }));
  }
}

// --- The text of an array of so many numbers in a report ---

constexpr std::array kElements{10, 100, 1'000, 10'000, 100'000, 1'000'000};

std::string RawDump(std::span<const std::int32_t> numbers) {
  std::string text;
  std::array<char, 96> line{};
  int index = 0;
  for (const std::int32_t number : numbers) {
    const int length = std::snprintf(line.data(), line.size(), "<a Index=\"%d\">%d</a>\r\n",
                                     index++, static_cast<int>(number));
    text.append(line.data(), static_cast<std::size_t>(length));
  }
  return text;
}

void MeasureElements() {
  for (const int count : kElements) {
    std::vector<std::int32_t> numbers(static_cast<std::size_t>(count));
    for (std::int32_t i = 0; i < count; ++i) numbers[static_cast<std::size_t>(i)] = i * 7;
    const std::span<const std::int32_t> all(numbers);
    Require(DumpVariable("a", all, 0) == RawDump(all), "the same text");
    const unsigned rounds = count < 100'000 ? kRounds : 5;
    Compare("elements", count, rounds,
            Repeated("", 1, [all] { Require(!DumpVariable("a", all, 0).empty(), "a dump"); }),
            Repeated("", 1, [all] { Require(!RawDump(all).empty(), "a raw dump"); }));
  }
}

// --- An exchange with each of so many boxes at once ---

constexpr std::array kBoxes{1, 2, 4, 8, 16, 32, 64};
constexpr int kExchangesEach = 20;

// Those who work at once: nobody begins before all are ready, and nobody stops before all have been
// measured.
class Together {
 public:
  explicit Together(int count) : missing_(count), measuring_(count) {}

  void Begin() {
    if (--missing_ == 0) SetEvent(all_are_there_.Get());
    WaitForSingleObject(all_are_there_.Get(), INFINITE);
  }
  /// Times `exchange` so often, and goes on with it as long as others are timed.
  template <class Exchange>
  Samples Time(Exchange exchange) {
    Samples samples;
    for (int i = 0; i < kExchangesEach; ++i) {
      const double start = NowNanoseconds();
      exchange();
      samples.push_back(NowNanoseconds() - start);
    }
    --measuring_;
    while (measuring_ > 0) exchange();
    return samples;
  }

 private:
  std::atomic<int> missing_;
  std::atomic<int> measuring_;
  const platform::OwnedHandle all_are_there_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
};

Samples ThroughTheDll(int port, Together& together) {
  const auto zentrel = clients::NewZentrel();
  const OpenedDevice device(zentrel.Get(), port);
  const auto exchange = [&] { MustSucceed(zentrel.Get(), &_Zentrel::BoxStatus, "Box Status"); };
  exchange();  // the first one after opening is not like the others
  together.Begin();
  return together.Time(exchange);
}

Samples ThroughARawPort(int port, Together& together) {
  RawPort device(port);
  const auto exchange = [&] { BoxStatusInTheSameSteps(device); };
  exchange();
  together.Begin();
  return together.Time(exchange);
}

// Each box has an apartment of its own.
Way AtOnce(int boxes, Samples (*work)(int port, Together& together)) {
  return {"", [=](Samples& samples) {
            Together together(boxes);
            std::vector<Samples> of_box(static_cast<std::size_t>(boxes));
            std::vector<std::unique_ptr<clients::OtherApartment>> apartments;
            apartments.reserve(of_box.size());
            for (int box = 0; box < boxes; ++box) {
              apartments.push_back(
                  std::make_unique<clients::OtherApartment>(COINIT_APARTMENTTHREADED, [&, box] {
                    of_box[static_cast<std::size_t>(box)] = work(clients::CrowdPort(box), together);
                  }));
            }
            for (const auto& apartment : apartments) apartment->Join();
            for (const Samples& of_one : of_box) {
              samples.insert(samples.end(), of_one.begin(), of_one.end());
            }
          }};
}

void MeasureBoxes() {
  Require(clients::CrowdSize() >= kBoxes.back(), "too few boxes; use bench/run");
  for (int number = 0; number < kBoxes.back(); ++number) {
    clients::CrowdBox box(number);
    box.Tell("set pace 0");
    box.Tell("supply none");  // it is the exchange that is measured, not the start of the box
  }
  const auto kept = clients::NewZentrel();  // what the first object sets up stays
  for (const int count : kBoxes) {
    // More where each round has few exchanges.
    const auto rounds = static_cast<unsigned>(4 + kBoxes.back() / count);
    Compare("boxes", count, rounds, AtOnce(count, ThroughTheDll), AtOnce(count, ThroughARawPort));
  }
}

}  // namespace

int main() {
  std::printf("curve\tsize\tcomponent us\traw us\n");
  clients::FilledTestCatalog catalog;
  MeasureInterfaces(catalog);
  MeasureMessages(catalog);
  MeasureElements();
  MeasureBoxes();
}
