// The one error type of the command-line host: a message for the user, shown
// as "deesser: <message>" with a non-zero exit status.
#pragma once

#include <stdexcept>
#include <string>

class CHostError : public std::runtime_error
{
public:
    explicit CHostError(const std::string& message) : std::runtime_error(message) {}
};
