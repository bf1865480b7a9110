#pragma once
// The one way the process-wide services are held: each class keeps its
// instance in a static pointer of its own (GetInstance/DeleteInstance and the
// pointer keep their long-standing names), allocated on first use and freed
// by the class's DeleteInstance when the process exits.

#include <cstdlib>
#include <new>

// Returns *slot, first storing `make()` there when it is null. `make` returns
// a new instance (or null); an allocation failure (std::bad_alloc) yields null
// too, and *slot then stays null. After a successful allocation `created()`
// runs (it fetches the logger and the like) and `release` is registered with
// atexit, once per call site for the whole process, so a class deleted and
// built again is not freed twice at exit. *slot owns the instance; `release`
// deletes it and sets *slot back to null. Not locked: a class used by both
// threads locks around the call.
template <typename T, typename Make, typename Created>
T* SingleInstance(T*& slot, void (*release)(), Make make, Created created) {
  if (slot != nullptr) return slot;
  try {
    slot = make();
  } catch (const std::bad_alloc&) {
    slot = nullptr;
  }
  if (slot == nullptr) return nullptr;
  created();
  static bool registered = false;
  if (!registered) registered = std::atexit(release) == 0;
  return slot;
}
