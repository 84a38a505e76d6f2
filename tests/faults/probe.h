// What a host sees of the probe: a library that faults in every way it knows, each inside a
// procedure of the component's kind, and says whether the report of it was right.
#pragma once

// NOLINTBEGIN(modernize-redundant-void-arg,modernize-use-using): read by C, too.
#ifdef __cplusplus
extern "C" {
#endif

/// Code of the host.
typedef void (*ProbeClient)(void);

typedef struct FaultProbe {
  /// Sets error reporting up, with an error handler of the probe's own. Returns 0 on success.
  int (*start)(void);
  void (*end)(void);

  int (*kinds)(void);
  const char* (*name)(int kind);
  /// Runs a kind. Returns 0 when everything about it was as it must be, else complaint() tells.
  int (*fault)(int kind);
  const char* (*complaint)(void);
  /// Whether the kind that has run last left through destructors.
  int (*destructors_ran)(void);

  /// Runs a kind `times` times without reports, on any thread. Returns how many of them were
  /// raised.
  int (*unreported)(int kind, int times);
  /// Reports since the last question.
  int (*reports)(void);

  /// Calls `client` from within a procedure, as code of the client or as a function that the
  /// procedure uses. Returns 0 when the procedure ran to its end.
  int (*call)(ProbeClient client, int as_client);

  /// Faults, without a procedure around it.
  void (*read_null)(void);

  /// Ways to end the process.
  int (*ends)(void);
  const char* (*end_name)(int end);
  /// Returns only if it should not.
  void (*end_process)(int end);
} FaultProbe;

/// The type of the library's one export, named "ProbeInterface".
typedef const FaultProbe* (*ProbeInterfaceFunction)(void);

#ifdef __cplusplus
}
#endif
// NOLINTEND(modernize-redundant-void-arg,modernize-use-using)
