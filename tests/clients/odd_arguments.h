// What a client may hand over that no client should: arguments drawn at random, each of them
// allowed by automation, and a record of what they were.
#pragma once

#include <windows.h>

// After it, which they need.
#include <oleauto.h>

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "tests/automation/scripted_object.h"

namespace qmzentrel::clients {

/// The same numbers for the same seed, whatever library the program is built with.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint64_t Next();
  /// From 0 to `end` - 1.
  std::size_t Below(std::size_t end) { return static_cast<std::size_t>(Next() % end); }
  bool OneIn(std::size_t chances) { return Below(chances) == 0; }

  template <class Choices>
  auto Of(const Choices& choices) {
    return std::data(choices)[Below(std::size(choices))];
  }

 private:
  std::uint64_t state_;
};

/// Objects of a client that answer what they like. They last through all calls.
class OddObjects {
 public:
  OddObjects();

  IDispatch* Draw(Random& random) { return &objects_[random.Below(objects_.size())]; }
  /// Whom the objects ask what to answer from now on.
  void Follow(Random& random) { random_ = &random; }
  /// Of all objects, beyond their own.
  ULONG References() const;

 private:
  HRESULT Answer(const automation::ScriptedObject::Use& use);

  std::array<automation::ScriptedObject, 5> objects_;
  Random* random_ = nullptr;
};

/// The arguments of one call. Whatever they are made of is freed with them.
class OddArguments {
 public:
  OddArguments(Random& random, OddObjects& objects) : random_(random), objects_(objects) {}
  ~OddArguments();
  /// From now on what is drawn is, more often than not, what a command of messages takes.
  void PreferMessages() { prefers_messages_ = true; }
  bool PrefersMessages() const { return prefers_messages_; }
  OddArguments(const OddArguments&) = delete;
  OddArguments& operator=(const OddArguments&) = delete;

  LONG Number();
  BSTR Text();          ///< may be null
  SAFEARRAY* Array();   ///< of any element and shape; may be null
  IDispatch* Object();  ///< may be null
  VARIANTARG Anything(int depth = 0);
  /// More often than not something that a parameter of that type takes.
  VARIANTARG SuchAs(VARTYPE type);
  /// A variable of the client that holds the value, or null.
  SAFEARRAY** Variable(SAFEARRAY* array);
  IDispatch** Variable(IDispatch* object);

  /// As IDispatch::Invoke takes them.
  std::vector<VARIANTARG> list;

  /// All that the arguments are, byte by byte: what a call must leave as it is. Without the first
  /// elements of one array, and what they may refer to, if a call may store there.
  std::vector<std::string> Record(const SAFEARRAY* stored = nullptr,
                                  std::size_t elements = 0) const;

 private:
  using Place = std::array<std::uint64_t, 2>;  // room for any value

  VARIANTARG Plain(VARTYPE type);
  VARIANTARG ReferenceTo(const VARIANTARG& value);
  SAFEARRAY* LongArray();
  SAFEARRAY* Filled(SAFEARRAY* array, VARTYPE type);

  Random& random_;
  OddObjects& objects_;
  bool prefers_messages_ = false;
  std::deque<VARIANT> variants_;
  std::deque<Place> places_;
  std::vector<BSTR> texts_;
  std::vector<SAFEARRAY*> arrays_;
};

/// A value as a report of a finding shows it.
std::string Shown(const VARIANT& value, int depth = 0);

}  // namespace qmzentrel::clients
