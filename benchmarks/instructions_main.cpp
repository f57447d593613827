// bench_instructions: one turn of a conversation of 100 entries over plain HTTP, whose instructions check_instructions
// counts through callgrind.
#include "conversation.h"
#include "server.h"

#include <valgrind/callgrind.h>

int main() {
  BenchServer server;
  Conversation conversation(server.getURL(), {100, 4, true});
  for (int i = 0; i < 3; ++i) {  // the connection, and what is kept from one turn to the next
    conversation.keepLength();
    conversation.turn();
  }
  CALLGRIND_START_INSTRUMENTATION;
  CALLGRIND_TOGGLE_COLLECT;
  conversation.turn();
  CALLGRIND_TOGGLE_COLLECT;
  CALLGRIND_STOP_INSTRUMENTATION;
}
