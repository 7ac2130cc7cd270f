#pragma once

/// The permissions of a file as POSIX numbers them.
namespace FileMode {

constexpr int OCTAL = 8;
constexpr int MAX = 07777;

} // namespace FileMode
