#pragma once

namespace platform {

/// What a system dialog is shown from. A desktop's has nothing to say.
class UIViewController {};

} // namespace platform
