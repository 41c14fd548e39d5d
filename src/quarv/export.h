#pragma once

/// Marks what the shared libraries show to those who link them; everything else stays hidden.
#if defined(__GNUC__)
#define QUARV_API __attribute__((visibility("default")))
#else
#define QUARV_API
#endif
