// The events in which the Assistants protocol tells a run.
#pragma once

#include "assistants_store.h"
#include "streams.h"

#include <string>

namespace standin {

/// The events of a run of the thread: its beginning, its messages piece by piece, and then what becomes of it. The run
/// goes on to its end as that is told; when it ends otherwise, that is told at once. Uses the store, which must outlive
/// the source.
EventSource runEvents(AssistantsStore& store, const std::string& threadId, const RunOpening& opening);

}  // namespace standin
