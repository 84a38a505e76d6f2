#include "tests/fakes/fake_world.h"

#include <memory>
#include <new>
#include <utility>

namespace qmzentrel::fakes {
namespace {

std::unique_ptr<World>& Current() {
  static auto world = std::make_unique<World>();
  return world;
}

}  // namespace

World& TheWorld() {
  return *Current();
}

void ResetWorld() {
  Current() = std::make_unique<World>();
}

std::vector<std::string> World::TakeJournal() {
  return std::exchange(journal, {});
}

void World::Enter(const std::string& call) const {
  if (const auto hook = before_call) hook(call);  // a copy: it may take itself away
  if (out_of_memory_in.contains(call)) throw std::bad_alloc();
}

}  // namespace qmzentrel::fakes
