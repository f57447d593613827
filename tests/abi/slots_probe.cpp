// Makes a compiler lay out the table of each interface: a constructor needs it, whatever operations there are. The
// record of the extensions is compared on the way.
#include "stream_options.h"

#include <qai_extensions.h>

template <class Interface>
struct Made : Interface {
  Made();
};
template <class Interface>
Made<Interface>::Made() = default;

template struct Made<IQAIObject>;
template struct Made<IQAIMessageSection>;
template struct Made<IQAIMessage>;
template struct Made<IQAIProperties>;
template struct Made<IQAISession>;
template struct Made<IQAIAssistant>;
template struct Made<IQAIExtensible>;
template struct Made<IQAIStreaming>;
template struct Made<IQAIMessageDetails>;
