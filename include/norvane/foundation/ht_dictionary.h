// The hash table family: id-keyed and string-keyed dictionaries over one
// open-addressing table in Robin Hood order, and their hash functions.
#pragma once

#include "norvane/foundation/hash.h"
#include "norvane/foundation/ht_hash_table.h"
#include "norvane/foundation/ht_id_dictionary.h"
#include "norvane/foundation/ht_string_dictionary.h"
