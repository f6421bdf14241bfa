// The calls of libcups, which is loaded with the first of them: twenty more libraries come with it, and take
// longer than the wizard's first window.
#ifndef BRINDLE_THINGS_CUPS_CALLS_H
#define BRINDLE_THINGS_CUPS_CALLS_H

#include <cups/cups.h>

#include "late/library.h"

namespace things {

inline constexpr late::Library libcups{"libcups.so.2"};

// Named like the functions, so that nothing in this namespace calls those themselves.
inline constinit const late::Call<decltype(::cupsAddOption)> cupsAddOption{libcups, "cupsAddOption"};
inline constinit const late::Call<decltype(::cupsDoFileRequest)> cupsDoFileRequest{libcups,
                                                                                   "cupsDoFileRequest"};
inline constinit const late::Call<decltype(::cupsDoRequest)> cupsDoRequest{libcups, "cupsDoRequest"};
inline constinit const late::Call<decltype(::cupsEncodeOptions2)> cupsEncodeOptions2{libcups,
                                                                                     "cupsEncodeOptions2"};
inline constinit const late::Call<decltype(::cupsEncryption)> cupsEncryption{libcups, "cupsEncryption"};
inline constinit const late::Call<decltype(::cupsFileClose)> cupsFileClose{libcups, "cupsFileClose"};
inline constinit const late::Call<decltype(::cupsFileGetConf)> cupsFileGetConf{libcups, "cupsFileGetConf"};
inline constinit const late::Call<decltype(::cupsFileOpen)> cupsFileOpen{libcups, "cupsFileOpen"};
inline constinit const late::Call<decltype(::cupsFreeJobs)> cupsFreeJobs{libcups, "cupsFreeJobs"};
inline constinit const late::Call<decltype(::cupsFreeOptions)> cupsFreeOptions{libcups, "cupsFreeOptions"};
inline constinit const late::Call<decltype(::cupsGetFd)> cupsGetFd{libcups, "cupsGetFd"};
inline constinit const late::Call<decltype(::cupsGetJobs2)> cupsGetJobs2{libcups, "cupsGetJobs2"};
inline constinit const late::Call<decltype(::cupsLastError)> cupsLastError{libcups, "cupsLastError"};
inline constinit const late::Call<decltype(::cupsLastErrorString)> cupsLastErrorString{libcups,
                                                                                       "cupsLastErrorString"};
inline constinit const late::Call<decltype(::cupsServer)> cupsServer{libcups, "cupsServer"};
inline constinit const late::Call<decltype(::cupsUser)> cupsUser{libcups, "cupsUser"};
inline constinit const late::Call<decltype(::httpAssembleURI)> httpAssembleURI{libcups, "httpAssembleURI"};
inline constinit const late::Call<decltype(::httpClose)> httpClose{libcups, "httpClose"};
inline constinit const late::Call<decltype(::httpConnect2)> httpConnect2{libcups, "httpConnect2"};
inline constinit const late::Call<decltype(::httpStatus)> httpStatus{libcups, "httpStatus"};
inline constinit const late::Call<decltype(::ippAddBoolean)> ippAddBoolean{libcups, "ippAddBoolean"};
inline constinit const late::Call<decltype(::ippAddInteger)> ippAddInteger{libcups, "ippAddInteger"};
inline constinit const late::Call<decltype(::ippAddString)> ippAddString{libcups, "ippAddString"};
inline constinit const late::Call<decltype(::ippAddStrings)> ippAddStrings{libcups, "ippAddStrings"};
inline constinit const late::Call<decltype(::ippAttributeString)> ippAttributeString{libcups,
                                                                                     "ippAttributeString"};
inline constinit const late::Call<decltype(::ippDelete)> ippDelete{libcups, "ippDelete"};
inline constinit const late::Call<decltype(::ippFindAttribute)> ippFindAttribute{libcups, "ippFindAttribute"};
inline constinit const late::Call<decltype(::ippFindNextAttribute)> ippFindNextAttribute{
    libcups, "ippFindNextAttribute"};
inline constinit const late::Call<decltype(::ippFirstAttribute)> ippFirstAttribute{libcups,
                                                                                   "ippFirstAttribute"};
inline constinit const late::Call<decltype(::ippGetBoolean)> ippGetBoolean{libcups, "ippGetBoolean"};
inline constinit const late::Call<decltype(::ippGetInteger)> ippGetInteger{libcups, "ippGetInteger"};
inline constinit const late::Call<decltype(::ippGetName)> ippGetName{libcups, "ippGetName"};
inline constinit const late::Call<decltype(::ippGetString)> ippGetString{libcups, "ippGetString"};
inline constinit const late::Call<decltype(::ippGetValueTag)> ippGetValueTag{libcups, "ippGetValueTag"};
inline constinit const late::Call<decltype(::ippNewRequest)> ippNewRequest{libcups, "ippNewRequest"};
inline constinit const late::Call<decltype(::ippNextAttribute)> ippNextAttribute{libcups, "ippNextAttribute"};
inline constinit const late::Call<decltype(::ippPort)> ippPort{libcups, "ippPort"};

}  // namespace things

#endif
