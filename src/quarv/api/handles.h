/// \file
/// What the functions of the C interface share: managers, handles, and where exceptions end. Not installed.
#pragma once

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <quarv/c_api.h>
#include <quarv/numbers/gmp_bad_alloc.h>
#include <quarv/session/session.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/term/sort_error.h>
#include <quarv/util/input_error.h>

struct quarv_manager {
  explicit quarv_manager(quarv::SessionOptions options) : session(std::move(options)) {}

  quarv::TermManager& terms() { return session.manager(); }

  quarv::Session session;
  quarv::smtlib::Reader reader{session,
                               {.names = quarv::smtlib::Reader::Options::Names::session, .normalize = false}};
  quarv_status status = QUARV_OK;
  std::string message;
  struct Marked {
    std::uint64_t number;
    quarv::smtlib::Reader::Mark mark;
  };
  std::vector<Marked> marks;  // those in force
  std::uint64_t num_marks = 0;
  std::unique_ptr<quarv::SimplificationObserver> observer;
  int num_callbacks = 0;  // of the caller's functions that are running
};

namespace quarv::api {

inline quarv_term handle(const Term* t) {
  return reinterpret_cast<quarv_term>(t);
}
inline quarv_sort handle(const DataType* sort) {
  return reinterpret_cast<quarv_sort>(sort);
}
inline char* handle(const std::string& text) {
  auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

/// What pointers of the caller stand for; none of them may be null.
template <class Pointer>
Pointer checked(Pointer pointer) {
  if (pointer == nullptr) throw std::invalid_argument("a null pointer was given");
  return pointer;
}
inline const Term* term(quarv_term t) {
  return reinterpret_cast<const Term*>(checked(t));
}
inline const DataType* sort(quarv_sort s) {
  return reinterpret_cast<const DataType*>(checked(s));
}

inline TermManager::Args terms(const quarv_term* list, std::size_t n) {
  if (n == 0) return {};
  checked(list);
  for (std::size_t i = 0; i < n; ++i) checked(list[i]);
  return {reinterpret_cast<const Term* const*>(list), n};
}

inline void fail(quarv_manager* m, quarv_status status, const char* message) noexcept {
  m->status = status;
  try {
    m->message = message;
    for (char& c : m->message) {
      if (c == '\n') c = ' ';
    }
  } catch (const std::bad_alloc&) {
    m->message.clear();
  }
}

/// Returns what `f` does, or null with the manager's status set: the one place where exceptions end.
template <class F>
auto guarded(quarv_manager* m, F f) noexcept -> decltype(f()) {
  if (m == nullptr) return {};
  const quarv::GmpBadAlloc gmp;
  try {
    m->status = QUARV_OK;
    m->message.clear();
    auto result = f();
    // What the caller's functions did meanwhile may have failed.
    m->status = QUARV_OK;
    m->message.clear();
    return result;
  } catch (const quarv::MemoryLimitReached& e) {
    fail(m, QUARV_OUT_OF_MEMORY, e.what());
  } catch (const std::bad_alloc&) {
    fail(m, QUARV_OUT_OF_MEMORY, "out of memory");
  } catch (const quarv::InputError& e) {
    fail(m, QUARV_SYNTAX_ERROR, e.what());
  } catch (const quarv::SortError& e) {
    fail(m, QUARV_SORT_ERROR, e.what());
  } catch (const std::invalid_argument& e) {
    fail(m, QUARV_INVALID_ARGUMENT, e.what());
  } catch (const std::exception& e) {
    fail(m, QUARV_FAILURE, e.what());
  } catch (...) {
    fail(m, QUARV_FAILURE, "unknown failure");
  }
  return {};
}

/// Likewise, for functions that return only the status.
template <class F>
quarv_status status_of(quarv_manager* m, F f) noexcept {
  if (m == nullptr) return QUARV_INVALID_ARGUMENT;
  guarded(m, [&] {
    f();
    return 0;
  });
  return m->status;
}

/// While a function of the caller's runs, terms must stay where they are.
class Callback {
 public:
  explicit Callback(quarv_manager& m) : manager_(m) { ++m.num_callbacks; }
  ~Callback() { --manager_.num_callbacks; }
  Callback(const Callback&) = delete;
  Callback& operator=(const Callback&) = delete;

 private:
  quarv_manager& manager_;
};

}  // namespace quarv::api
