/* Everything that a host asks of the probe and looks at around it. */
#pragma once

// NOLINTBEGIN(modernize-redundant-void-arg,modernize-use-using): read by C, too.
#ifdef __cplusplus
extern "C" {
#endif

/* Called after every kind; returns 0 when the host itself still works. */
typedef int (*HostCheck)(void);

/* Runs the matrix on the probe named by the first argument and prints it. With an end as the second
   argument it ends the process in that way. Returns the exit code of the program. */
int RunMatrix(int argument_count, char** arguments, HostCheck check);

#ifdef __cplusplus
}
#endif
// NOLINTEND(modernize-redundant-void-arg,modernize-use-using)
