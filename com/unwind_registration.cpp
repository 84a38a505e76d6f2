// Exceptions in a process that has another unwinder.
//
// The compiler's start-up code registers the library's unwind information with the shared unwinder
// when the client has that one loaded (libgcc_s_dw2-1.dll), though the library carries an unwinder
// of its own and asks that one. Then no exception of ours would find a handler, and the first one
// would end the client. So when our own unwinder does not know our code, it is told.

extern "C" {

// Of the unwinder that is linked into the library, by its names.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
struct dwarf_eh_bases {
  void* text;
  void* data;
  void* function;
};
const void* _Unwind_Find_FDE(void* address, dwarf_eh_bases* bases);
void __register_frame_info(const void* begin, void* storage);
void* __deregister_frame_info(const void* begin);
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

// Defined in unwind_frames_begin.S.
extern const char qmz_unwind_frames_begin[];  // NOLINT(readability-identifier-naming)

}  // extern "C"

namespace {

// The unwinder keeps its own record here as long as the frames are registered; it needs six words.
void* g_unwinder_record[8];
bool g_registered = false;

// Before and after everything else that could throw.
constexpr int kBeforeOrdinaryCode = 101;

__attribute__((constructor(kBeforeOrdinaryCode))) void RegisterUnwindFrames() {
  dwarf_eh_bases bases{};
  if (_Unwind_Find_FDE(reinterpret_cast<void*>(&RegisterUnwindFrames), &bases) != nullptr) return;
  __register_frame_info(qmz_unwind_frames_begin, g_unwinder_record);
  g_registered = true;
}

__attribute__((destructor(kBeforeOrdinaryCode))) void DeregisterUnwindFrames() {
  if (g_registered) __deregister_frame_info(qmz_unwind_frames_begin);
}

}  // namespace
