#include "tests/clients/box_client.h"

#include <stdexcept>
#include <utility>

namespace qmzentrel::clients {
namespace {

void Require(HRESULT result, const char* what) {
  if (result != S_OK) {
    throw std::runtime_error(std::string(what) + " failed with " + std::to_string(result));
  }
}

VARIANT_BOOL Automation(bool value) {
  return value ? VARIANT_TRUE : VARIANT_FALSE;
}

}  // namespace

BoxClient::BoxClient(ComPointer<_Zentrel> object)
    : object_(std::move(object)), sink_(new EventSink) {
  const auto container =
      As<IConnectionPointContainer>(object_.Get(), IID_IConnectionPointContainer);
  ComPointer<IConnectionPoint> point;
  DWORD cookie = 0;  // never needed: the object lets go of the sink when it goes
  Require(container->FindConnectionPoint(DIID___Zentrel, point.Receive()), "FindConnectionPoint");
  Require(point->Advise(sink_, &cookie), "Advise");
}

BoxClient::~BoxClient() {
  sink_->on_event = nullptr;
  Release();
  sink_->Release();
}

ZentrelStatus BoxClient::Run(Command command) {
  ZentrelStatus status{};
  // A client that is called within the event may release the object.
  _Zentrel* const object = object_.Get();
  Require((object->*command)(&status), "A command");
  return status;
}

ZentrelStatus BoxClient::Open(std::int32_t port, bool maintain_supply) {
  ZentrelStatus status{};
  Require(object_->DeviceOpen(port, Automation(maintain_supply), &status), "DeviceOpen");
  return status;
}

LONG BoxClient::Signature(short index) {
  LONG value = 0;
  Require(object_->get_ZentrelSignature(index, &value), "ZentrelSignature");
  return value;
}

float BoxClient::BatteryVoltage() {
  float volts = 0;
  Require(object_->get_BatteryVoltage(&volts), "BatteryVoltage");
  return volts;
}

std::wstring BoxClient::StatusText(ZentrelStatus status) {
  BSTR text = nullptr;
  Require(object_->Status(status, &text), "Status");
  return Taken(text);
}

LONG BoxClient::Get(LongGetter property) {
  LONG value = 0;
  Require((object_.Get()->*property)(&value), "A property");
  return value;
}

bool BoxClient::Get(BoolGetter property) {
  VARIANT_BOOL value = VARIANT_FALSE;
  Require((object_.Get()->*property)(&value), "A property");
  return value != VARIANT_FALSE;
}

std::wstring BoxClient::Get(TextGetter property) {
  BSTR value = nullptr;
  Require((object_.Get()->*property)(&value), "A property");
  return Taken(value);
}

void BoxClient::Let(LongSetter property, LONG value) {
  Require((object_.Get()->*property)(value), "A property");
}

void BoxClient::Let(BoolSetter property, bool value) {
  Require((object_.Get()->*property)(Automation(value)), "A property");
}

void BoxClient::OnEvent(std::function<void(bool)> action) {
  sink_->on_event = [action = std::move(action)](EventSink& sink, EXCEPINFO*) {
    action(sink.states.back());
    return S_OK;
  };
}

}  // namespace qmzentrel::clients
