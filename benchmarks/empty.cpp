// A shared library without content: what loading any takes.
extern "C" __attribute__((visibility("default"))) int benchEmpty() { return 0; }
