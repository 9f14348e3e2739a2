#pragma once

#include <jpeglib.h>

#include <csetjmp>
#include <cstdio>
#include <string>

namespace platform::jpeg {

/// libjpeg ends a call that fails by a jump. `guarded` is the only place that it jumps to: the calls made inside must
/// hold no C++ object that needs destruction.
struct ErrorManager : jpeg_error_mgr {
    std::jmp_buf landing = {};
    int code = 0;
    std::string text;
    bool warningsAreErrors = true;

    ErrorManager() {
        jpeg_std_error(this);
        error_exit = [](j_common_ptr info) {
            auto& self = *static_cast<ErrorManager*>(info->err);
            self.code = self.msg_code;
            char message[JMSG_LENGTH_MAX];
            self.format_message(info, message);
            self.text = message;
            std::longjmp(self.landing, 1);
        };
        emit_message = [](j_common_ptr info, int level) {
            if (level < 0 && static_cast<ErrorManager*>(info->err)->warningsAreErrors)
                info->err->error_exit(info);
        };
        output_message = [](j_common_ptr) {};
    }

    /// Runs `calls`; false where libjpeg gave up: `code` and `text` then say why.
    template <class Calls>
    bool guarded(Calls calls) {
        if (setjmp(landing) != 0)
            return false;
        calls();
        return true;
    }
};

} // namespace platform::jpeg
