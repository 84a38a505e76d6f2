// Where clients attach the sinks of the event interface.
#pragma once

#include <windows.h>

// After it, which they need.
#include <olectl.h>

#include <vector>

#include "platform/win32/com_pointer.h"

namespace qmzentrel::com {

/// Part of its container: holding it holds the container. Belongs to the container's thread.
class ConnectionPoint final : public IConnectionPoint {
 public:
  explicit ConnectionPoint(IConnectionPointContainer& container) : container_(container) {}
  ConnectionPoint(const ConnectionPoint&) = delete;
  ConnectionPoint& operator=(const ConnectionPoint&) = delete;

  STDMETHODIMP QueryInterface(REFIID riid, void** object) override;
  STDMETHODIMP_(ULONG) AddRef() override { return container_.AddRef(); }
  STDMETHODIMP_(ULONG) Release() override { return container_.Release(); }

  STDMETHODIMP GetConnectionInterface(IID* identifier) override;
  STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** container) override;
  /// A sink is any object that answers the event interface or plain IDispatch.
  STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) override;
  STDMETHODIMP Unadvise(DWORD cookie) override;
  STDMETHODIMP EnumConnections(IEnumConnections** enumerator) override;

  /// Calls every sink that was attached before and still is when its turn comes. A sink is held
  /// while it is called; what it answers does not matter. Allocates nothing.
  void FirePowerStateChange(bool new_state);

  /// Lets go of every sink.
  void ReleaseSinks();

 private:
  struct Connection {
    DWORD cookie;
    platform::ComPointer<IDispatch> sink;
    void Share(CONNECTDATA& item) const;
  };

  IConnectionPointContainer& container_;
  std::vector<Connection> connections_;  // by ascending cookie
  DWORD last_cookie_ = 0;                // a cookie is never used twice
};

}  // namespace qmzentrel::com
