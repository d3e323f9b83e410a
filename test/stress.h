#pragma once

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

/// The seed of scripts/stress; null in an ordinary run, which uses a fixed seed.
inline const char* stressSeed()
{
    return std::getenv("MENDKIT_STRESS");
}

inline int rounds(int few, int underStress)
{
    return stressSeed() ? underStress : few;
}

inline std::mt19937 seeded()
{
    return std::mt19937(stressSeed() ? std::strtoul(stressSeed(), nullptr, 10) : 20261121);
}

inline std::string randomBytes(std::mt19937& random, std::size_t longest)
{
    std::string bytes(random() % (longest + 1), '\0');
    for (char& value : bytes)
        value = static_cast<char>(random() % 4 ? random() : 0);
    return bytes;
}

/// Prints a figure under scripts/stress.
inline void figure(long long count, const char* what)
{
    if (stressSeed())
        std::printf("figure %9lld %s\n", count, what);
}
