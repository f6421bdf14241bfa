// Libraries that are loaded with the first of their calls: those they bring along take longer to load than
// the wizard's first window to build.
#ifndef BRINDLE_LATE_LIBRARY_H
#define BRINDLE_LATE_LIBRARY_H

#include <atomic>

namespace late {

/// A shared library under the name that its programs ask for.
class Library {
 public:
  explicit constexpr Library(const char* name) : name_(name) {}

  /// Loads it if it is not yet loaded. False when it cannot be.
  bool load() const;

  /// The function with that name. Loads the library; ends the program when that fails, or has no such
  /// function.
  void* function(const char* name) const;

 private:
  void* loaded() const;

  const char* name_;
};

template <typename Function>
class Call;

/// A function of a library, to be called like the function itself.
template <typename Result, typename... Values>
class Call<Result(Values...)> {
 public:
  constexpr Call(const Library& library, const char* name) : library_(library), name_(name) {}

  Result operator()(Values... values) const { return function()(values...); }

 private:
  using Function = Result (*)(Values...);

  Function function() const {
    if (Function found = found_) return found;
    return found_ = reinterpret_cast<Function>(library_.function(name_));
  }

  const Library& library_;
  const char* name_;
  mutable std::atomic<Function> found_ = nullptr;
};

/// Frees what a call has made, by another one.
template <const auto& call>
struct FreedBy {
  void operator()(auto* what) const { call(what); }
};

}  // namespace late

#endif
