// The calls of libcups, which is loaded with the first of them: twenty more libraries come with it, and take
// longer than the wizard's first window.
#ifndef BRINDLE_THINGS_CUPS_CALLS_H
#define BRINDLE_THINGS_CUPS_CALLS_H

#include <cups/cups.h>

namespace things {

/// Loads libcups if it is not yet loaded. False when it cannot be: no other call is made then.
bool load_cups();

/// The function of libcups with that name.
void* cups_function(const char* name);

template <typename Function>
class CupsCall;

template <typename Result, typename... Values>
class CupsCall<Result(Values...)> {
 public:
  explicit constexpr CupsCall(const char* name) : name_(name) {}

  Result operator()(Values... values) const {
    return reinterpret_cast<Result (*)(Values...)>(cups_function(name_))(values...);
  }

 private:
  const char* name_;
};

/// Frees what a call has made, by another one.
template <const auto& call>
struct FreedBy {
  void operator()(auto* what) const { call(what); }
};

// Named like the functions, so that nothing in this namespace calls those themselves.
inline constexpr CupsCall<decltype(::cupsAddOption)> cupsAddOption{"cupsAddOption"};
inline constexpr CupsCall<decltype(::cupsDoFileRequest)> cupsDoFileRequest{"cupsDoFileRequest"};
inline constexpr CupsCall<decltype(::cupsDoRequest)> cupsDoRequest{"cupsDoRequest"};
inline constexpr CupsCall<decltype(::cupsEncodeOptions2)> cupsEncodeOptions2{"cupsEncodeOptions2"};
inline constexpr CupsCall<decltype(::cupsEncryption)> cupsEncryption{"cupsEncryption"};
inline constexpr CupsCall<decltype(::cupsFileClose)> cupsFileClose{"cupsFileClose"};
inline constexpr CupsCall<decltype(::cupsFileGetConf)> cupsFileGetConf{"cupsFileGetConf"};
inline constexpr CupsCall<decltype(::cupsFileOpen)> cupsFileOpen{"cupsFileOpen"};
inline constexpr CupsCall<decltype(::cupsFreeJobs)> cupsFreeJobs{"cupsFreeJobs"};
inline constexpr CupsCall<decltype(::cupsFreeOptions)> cupsFreeOptions{"cupsFreeOptions"};
inline constexpr CupsCall<decltype(::cupsGetFd)> cupsGetFd{"cupsGetFd"};
inline constexpr CupsCall<decltype(::cupsGetJobs2)> cupsGetJobs2{"cupsGetJobs2"};
inline constexpr CupsCall<decltype(::cupsLastError)> cupsLastError{"cupsLastError"};
inline constexpr CupsCall<decltype(::cupsLastErrorString)> cupsLastErrorString{"cupsLastErrorString"};
inline constexpr CupsCall<decltype(::cupsServer)> cupsServer{"cupsServer"};
inline constexpr CupsCall<decltype(::cupsUser)> cupsUser{"cupsUser"};
inline constexpr CupsCall<decltype(::httpAssembleURI)> httpAssembleURI{"httpAssembleURI"};
inline constexpr CupsCall<decltype(::httpClose)> httpClose{"httpClose"};
inline constexpr CupsCall<decltype(::httpConnect2)> httpConnect2{"httpConnect2"};
inline constexpr CupsCall<decltype(::httpStatus)> httpStatus{"httpStatus"};
inline constexpr CupsCall<decltype(::ippAddBoolean)> ippAddBoolean{"ippAddBoolean"};
inline constexpr CupsCall<decltype(::ippAddInteger)> ippAddInteger{"ippAddInteger"};
inline constexpr CupsCall<decltype(::ippAddString)> ippAddString{"ippAddString"};
inline constexpr CupsCall<decltype(::ippAddStrings)> ippAddStrings{"ippAddStrings"};
inline constexpr CupsCall<decltype(::ippAttributeString)> ippAttributeString{"ippAttributeString"};
inline constexpr CupsCall<decltype(::ippDelete)> ippDelete{"ippDelete"};
inline constexpr CupsCall<decltype(::ippFindAttribute)> ippFindAttribute{"ippFindAttribute"};
inline constexpr CupsCall<decltype(::ippFindNextAttribute)> ippFindNextAttribute{"ippFindNextAttribute"};
inline constexpr CupsCall<decltype(::ippFirstAttribute)> ippFirstAttribute{"ippFirstAttribute"};
inline constexpr CupsCall<decltype(::ippGetBoolean)> ippGetBoolean{"ippGetBoolean"};
inline constexpr CupsCall<decltype(::ippGetInteger)> ippGetInteger{"ippGetInteger"};
inline constexpr CupsCall<decltype(::ippGetName)> ippGetName{"ippGetName"};
inline constexpr CupsCall<decltype(::ippGetString)> ippGetString{"ippGetString"};
inline constexpr CupsCall<decltype(::ippGetValueTag)> ippGetValueTag{"ippGetValueTag"};
inline constexpr CupsCall<decltype(::ippNewRequest)> ippNewRequest{"ippNewRequest"};
inline constexpr CupsCall<decltype(::ippNextAttribute)> ippNextAttribute{"ippNextAttribute"};
inline constexpr CupsCall<decltype(::ippPort)> ippPort{"ippPort"};

}  // namespace things

#endif
