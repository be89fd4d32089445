// Umbrella header: includes every public header of the library.
#ifndef KIV_HPP
#define KIV_HPP

#include "kiv_cursor.hpp"
#include "kiv_envvar.hpp"
#include "kiv_error.hpp"
#include "kiv_exception.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_string.hpp"

#endif  // KIV_HPP
