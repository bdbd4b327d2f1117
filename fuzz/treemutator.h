#pragma once

#include <cstddef>
#include <cstdint>

/// Changes a user file as a tree, so that the readers see more than malformed text: elements are
/// copied, moved, removed, renamed, attributes set to what is special in them. Bytes that are no
/// tree, and every fourth input, are changed as bytes.
std::size_t mutateTree(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed);
