#pragma once

/// Marks what the shared libraries show to those who link them; everything else stays hidden.
#if defined(__GNUC__)
#define QUARV_API __attribute__((visibility("default")))
#else
#define QUARV_API
#endif

/// As QUARV_API, for large tables: a program that reads one reads the library's own instead of having it
/// copied at every start.
#if defined(__has_attribute)
#if __has_attribute(nodirect_extern_access)
#define QUARV_API_TABLE QUARV_API __attribute__((nodirect_extern_access))
#endif
#endif
#ifndef QUARV_API_TABLE
#define QUARV_API_TABLE QUARV_API
#endif
