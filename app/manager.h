#pragma once

#include "app/vconsoleapp.h"

namespace KelvoRepair {

/// The application: maps each command word to operations of the repair adapter and writes their answers to standard
/// output.
class Manager : public vconsoleapp
{
public:
    /// @return 0 @throws vexception when the command is unknown, its parameters are wrong, or it fails
    std::int32_t go(std::int32_t count, const wchar_t* const* arguments) override;

    void usage() override;
};

} // namespace KelvoRepair
