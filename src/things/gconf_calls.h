// The calls of libgconf, which is loaded with the first of them.
#ifndef BRINDLE_THINGS_GCONF_CALLS_H
#define BRINDLE_THINGS_GCONF_CALLS_H

#include <gconf/gconf-client.h>

#include "late/library.h"

namespace late {

inline constexpr Library libgconf{"libgconf-2.so.4"};

// Named like the functions. Those themselves are not linked, so that nothing calls them unnoticed.
inline constinit const Call<decltype(::gconf_client_clear_cache)> gconf_client_clear_cache{
    libgconf, "gconf_client_clear_cache"};
inline constinit const Call<decltype(::gconf_client_get)> gconf_client_get{libgconf, "gconf_client_get"};
inline constinit const Call<decltype(::gconf_client_get_default)> gconf_client_get_default{
    libgconf, "gconf_client_get_default"};
inline constinit const Call<decltype(::gconf_client_get_list)> gconf_client_get_list{libgconf,
                                                                                     "gconf_client_get_list"};
inline constinit const Call<decltype(::gconf_client_get_without_default)> gconf_client_get_without_default{
    libgconf, "gconf_client_get_without_default"};
inline constinit const Call<decltype(::gconf_client_set)> gconf_client_set{libgconf, "gconf_client_set"};
inline constinit const Call<decltype(::gconf_client_set_bool)> gconf_client_set_bool{libgconf,
                                                                                     "gconf_client_set_bool"};
inline constinit const Call<decltype(::gconf_client_set_list)> gconf_client_set_list{libgconf,
                                                                                     "gconf_client_set_list"};
inline constinit const Call<decltype(::gconf_client_set_string)> gconf_client_set_string{
    libgconf, "gconf_client_set_string"};
inline constinit const Call<decltype(::gconf_client_suggest_sync)> gconf_client_suggest_sync{
    libgconf, "gconf_client_suggest_sync"};
inline constinit const Call<decltype(::gconf_client_unset)> gconf_client_unset{libgconf,
                                                                               "gconf_client_unset"};
inline constinit const Call<decltype(::gconf_valid_key)> gconf_valid_key{libgconf, "gconf_valid_key"};
inline constinit const Call<decltype(::gconf_value_free)> gconf_value_free{libgconf, "gconf_value_free"};
inline constinit const Call<decltype(::gconf_value_get_bool)> gconf_value_get_bool{libgconf,
                                                                                   "gconf_value_get_bool"};
inline constinit const Call<decltype(::gconf_value_get_car)> gconf_value_get_car{libgconf,
                                                                                 "gconf_value_get_car"};
inline constinit const Call<decltype(::gconf_value_get_cdr)> gconf_value_get_cdr{libgconf,
                                                                                 "gconf_value_get_cdr"};
inline constinit const Call<decltype(::gconf_value_get_float)> gconf_value_get_float{libgconf,
                                                                                     "gconf_value_get_float"};
inline constinit const Call<decltype(::gconf_value_get_int)> gconf_value_get_int{libgconf,
                                                                                 "gconf_value_get_int"};
inline constinit const Call<decltype(::gconf_value_get_list)> gconf_value_get_list{libgconf,
                                                                                   "gconf_value_get_list"};
inline constinit const Call<decltype(::gconf_value_get_list_type)> gconf_value_get_list_type{
    libgconf, "gconf_value_get_list_type"};
inline constinit const Call<decltype(::gconf_value_get_string)> gconf_value_get_string{
    libgconf, "gconf_value_get_string"};
inline constinit const Call<decltype(::gconf_value_new)> gconf_value_new{libgconf, "gconf_value_new"};
inline constinit const Call<decltype(::gconf_value_new_from_string)> gconf_value_new_from_string{
    libgconf, "gconf_value_new_from_string"};
inline constinit const Call<decltype(::gconf_value_set_car_nocopy)> gconf_value_set_car_nocopy{
    libgconf, "gconf_value_set_car_nocopy"};
inline constinit const Call<decltype(::gconf_value_set_cdr_nocopy)> gconf_value_set_cdr_nocopy{
    libgconf, "gconf_value_set_cdr_nocopy"};
inline constinit const Call<decltype(::gconf_value_set_list_nocopy)> gconf_value_set_list_nocopy{
    libgconf, "gconf_value_set_list_nocopy"};
inline constinit const Call<decltype(::gconf_value_set_list_type)> gconf_value_set_list_type{
    libgconf, "gconf_value_set_list_type"};

}  // namespace late

#endif
