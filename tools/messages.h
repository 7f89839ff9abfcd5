// Lines on standard error: the tool's own errors and warnings, and the
// library's log lines.
#ifndef VELMIO_TOOLS_MESSAGES_H_
#define VELMIO_TOOLS_MESSAGES_H_

namespace tool {

// Routes the library's log lines to standard error: errors always, the
// per-record scan lines only when verbose.
void InstallLogSink(bool verbose);

// Hands every detail line of the library (its per-record scan lines among
// them) to listener as well, until it is set to null.
void ListenToDetails(void (*listener)(void* context, const char* line), void* context);

// How many error lines the library has written so far.
int LibraryErrorCount();

// "velmio: <message>" on standard error. Error returns 1, the exit status of
// a failed command.
int Error(const char* format, ...) __attribute__((format(printf, 1, 2)));
void Warning(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Flushes standard output: status, or 1 after an error line when what was
// written there did not all arrive (a full disk, a closed pipe).
int FinishOutput(int status);

// Called before every line, so that a progress bar can clear its line.
void SetBeforeMessage(void (*hook)(void* context), void* context);

}  // namespace tool

#endif  // VELMIO_TOOLS_MESSAGES_H_
