#include <syslog.h>

#include "core/Text.h"
#include "util/EventLog.h"

namespace QuillonLib {

void WriteErrorToEventLog(std::u16string_view text) {
    syslog(LOG_USER | LOG_ERR, "%s", ToUtf8(text).c_str());
}

}  // namespace QuillonLib
