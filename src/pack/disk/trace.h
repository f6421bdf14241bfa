// What must not be left behind, however this process ends.
#ifndef BRINDLE_PACK_DISK_TRACE_H
#define BRINDLE_PACK_DISK_TRACE_H

#include <string>

namespace pack {

/// A file or folder of ours that is there for a while only. Its owner removes it; when the process is ended
/// before that, the one that watches over it does.
class Trace {
 public:
  /// To be made as soon as the file is there, and to be gone after it.
  explicit Trace(std::string path);
  Trace(const Trace&) = delete;
  Trace& operator=(const Trace&) = delete;
  ~Trace();

  /// Tells that it is about to get a name of its own, under which it stays: when it is gone it has got it. Or
  /// that nothing comes of that.
  void is_to_stay(bool whether) const;

 private:
  std::string path_;
};

/// Traces are told to whoever reads the other end of this pipe: "+PATH" and a NUL byte of each that begins,
/// "-PATH" of each that ends, "=PATH" of one that is to stay. Nobody is told without this call.
void tell_traces_to(int pipe);

}  // namespace pack

#endif
