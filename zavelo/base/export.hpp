#pragma once

/// Marks what the shared library offers; everything else is built with hidden visibility.
#if defined(__GNUC__)
#define ZAVELO_EXPORT __attribute__((visibility("default")))
#else
#define ZAVELO_EXPORT
#endif
