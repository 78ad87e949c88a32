// JSON values: the reply of the update service as JSONItem reads it, and the text it writes.

#include "fuzz_support.h"
#include "shell/json_item.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace velto;
    const QString text = QString::fromUtf8(fuzz::bytes(data, size));
    try {
        JSONItem item(text);
        // What was read can be written, in both forms, and what was written reads back the same.
        const QString compact = item.ToString();
        item.Compact() = false;
        (void)item.ToString();
        JSONItem again(compact);
        if (again.ToString() != compact) __builtin_trap();
    } catch (const JSONException&) {
        // Bad text is refused with the system's own error: the expected outcome.
    }
    return 0;
}
