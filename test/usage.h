#pragma once

#include <string>

/// The usage text on standard output.
inline const std::string usage = "\r\nusage: mendkit [options] ...\r\n\r\n\r\n--help\r\n\r\n"
                                 "--get-service-status --name=<service>\r\n--repair-kelvo-sql-server\r\n\r\n"
                                 "--get-system-resources\r\n--free-system-resources\r\n\r\n--get-disk-space\r\n"
                                 "--free-disk-space\r\n\r\n--reboot --timeout=<seconds>\r\n";

/// The message for an unknown command, from the end of the command's name to the end of the list of commands.
inline const std::string notSupported =
    " not supported. Possible commands:\r\n   --help\r\n   --get-service-status\r\n   --repair-kelvo-sql-server\r\n"
    "   --get-system-resources\r\n   --free-system-resources\r\n   --get-disk-space\r\n   --free-disk-space\r\n"
    "   --reboot";
