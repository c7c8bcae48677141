// The example that `norvane` reports on when given no file: a delivery note
// with one "field: value" per line, free text and a comment, in UTF-8.
#include "cli_common.h"

namespace norvane::cli {

std::string_view BundledExample() {
  return "# Delivery note, as a warehouse terminal writes it.\n"
         "Delivery 4711 from the north warehouse, checked twice.\n"
         "ordered: 31.12.99\n"
         "shipped: 15.04.2024 09:30\n"
         "due: 2024-05-01\n"
         "weight: 12,5\n"
         "price: 1250.75\n"
         "discount: -2.5e1\n"
         "pallets: 3\n"
         "note: 第一批货物已到达。 The first batch arrived in good order.\n"
         "carrier: Nordfracht GmbH (route 7, stop 12)\n";
}

}  // namespace norvane::cli
