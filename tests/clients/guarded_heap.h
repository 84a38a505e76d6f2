// A heap for the library under test on which nothing lies close to anything else: an access behind
// a block, or to one that has been given back, ends the program with a word about it.
#pragma once

#include <windows.h>

namespace qmzentrel::clients {

/// From now on `library` has its blocks from this heap, until the process ends. Those it has
/// already stay where they are. At the end of the process: code 2 when it has taken none.
void GuardHeapOf(HMODULE library);

/// A block as the library gets it, its last byte at the end of a page but for at most seven.
void* TakeGuarded(std::size_t bytes);
/// Ends the program when bytes around the block have changed.
void GiveBackGuarded(void* block);

/// Blocks taken so far.
std::size_t GuardedBlocks();

}  // namespace qmzentrel::clients
