// GoogleTest's own class needs std::mutex, which GCC's win32 thread model has only since GCC 13.
#pragma once

#include <cstdlib>

namespace testing::internal {

class Notification
{
public:
    // Only threads that GoogleTest starts to test itself wait for a notification.
    void WaitForNotification() { std::abort(); }
};

} // namespace testing::internal
