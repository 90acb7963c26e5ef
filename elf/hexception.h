#pragma once
#include <string>

// The one exception type of the readers: a one-line message for the user.
class HException {
public:
    explicit HException(std::string message);
    virtual ~HException();
    const std::string& message() const { return message_; }

    // How many read failures have been raised in this process.
    static int count();

private:
    std::string message_;
};
