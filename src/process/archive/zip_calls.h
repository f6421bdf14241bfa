// The calls of libzip, which is loaded with the first of them.
#ifndef BRINDLE_PROCESS_ARCHIVE_ZIP_CALLS_H
#define BRINDLE_PROCESS_ARCHIVE_ZIP_CALLS_H

#include <zip.h>

#include "late/library.h"

namespace late {

inline constexpr Library libzip{"libzip.so.4"};

// Named like the functions. Those themselves are not linked, so that nothing calls them unnoticed.
inline constinit const Call<decltype(::zip_compression_method_supported)> zip_compression_method_supported{
    libzip, "zip_compression_method_supported"};
inline constinit const Call<decltype(::zip_discard)> zip_discard{libzip, "zip_discard"};
inline constinit const Call<decltype(::zip_error_code_zip)> zip_error_code_zip{libzip, "zip_error_code_zip"};
inline constinit const Call<decltype(::zip_error_fini)> zip_error_fini{libzip, "zip_error_fini"};
inline constinit const Call<decltype(::zip_error_init_with_code)> zip_error_init_with_code{
    libzip, "zip_error_init_with_code"};
inline constinit const Call<decltype(::zip_error_strerror)> zip_error_strerror{libzip, "zip_error_strerror"};
inline constinit const Call<decltype(::zip_fclose)> zip_fclose{libzip, "zip_fclose"};
inline constinit const Call<decltype(::zip_file_get_external_attributes)> zip_file_get_external_attributes{
    libzip, "zip_file_get_external_attributes"};
inline constinit const Call<decltype(::zip_fopen_index_encrypted)> zip_fopen_index_encrypted{
    libzip, "zip_fopen_index_encrypted"};
inline constinit const Call<decltype(::zip_fread)> zip_fread{libzip, "zip_fread"};
inline constinit const Call<decltype(::zip_get_error)> zip_get_error{libzip, "zip_get_error"};
inline constinit const Call<decltype(::zip_get_name)> zip_get_name{libzip, "zip_get_name"};
inline constinit const Call<decltype(::zip_get_num_entries)> zip_get_num_entries{libzip,
                                                                                 "zip_get_num_entries"};
inline constinit const Call<decltype(::zip_open)> zip_open{libzip, "zip_open"};
inline constinit const Call<decltype(::zip_stat_index)> zip_stat_index{libzip, "zip_stat_index"};
inline constinit const Call<decltype(::zip_stat_init)> zip_stat_init{libzip, "zip_stat_init"};

}  // namespace late

#endif
