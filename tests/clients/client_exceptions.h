/* Exceptions of a client's language, as the run-time systems of such languages make them: raised
   as structured exceptions of the operating system, caught by unwinding the thread to the handler.
 */
#ifndef QMZ_CLIENT_EXCEPTIONS_H
#define QMZ_CLIENT_EXCEPTIONS_H

#ifdef __cplusplus
extern "C" {
#endif

/* The codes of two such languages: one looks harmless, its severity bits being clear. */
#define CLIENT_EXCEPTION 0x0EEDFADEu
#define OTHER_CLIENT_EXCEPTION 0xE06D7363u

void RaiseClientException(unsigned long code);

/* Runs `body` and returns the code of the client's exception that has left it, 0 when none has.
   Like the languages it looks at nothing but those two. */
unsigned long CatchClientException(void (*body)(void* argument), void* argument);

#ifdef __cplusplus
}
#endif

#endif
