#include "listings.h"

#include <string>
#include <utility>
#include <vector>

namespace kivo::adbc {

namespace {

using Fields = std::vector<ArrowField>;

ArrowField field(const char* format, const char* name) { return {format, name, "", {}}; }

ArrowField required(ArrowField field) {
  field.nullable = false;
  return field;
}

ArrowField structure(const char* name, Fields children) { return {"+s", name, "", std::move(children)}; }

ArrowField list(const char* name, ArrowField item) {
  item.name = "item";
  return {"+l", name, "", {std::move(item)}};
}

ArrowField listOf(const char* name, Fields children) { return list(name, structure("item", std::move(children))); }

/// From a number to a list of numbers.
ArrowField numberMap(const char* name) {
  ArrowField entries = structure("entries", {required(field("i", "key")), list("value", field("i", "item"))});
  return {"+m", name, "", {required(std::move(entries))}};
}

ArrowField columns() {
  return listOf(
      "table_columns",
      {
          required(field("u", "column_name")),   field("i", "ordinal_position"),    field("u", "remarks"),
          field("s", "xdbc_data_type"),          field("u", "xdbc_type_name"),      field("i", "xdbc_column_size"),
          field("s", "xdbc_decimal_digits"),     field("s", "xdbc_num_prec_radix"), field("s", "xdbc_nullable"),
          field("u", "xdbc_column_def"),         field("s", "xdbc_sql_data_type"),  field("s", "xdbc_datetime_sub"),
          field("i", "xdbc_char_octet_length"),  field("u", "xdbc_is_nullable"),    field("u", "xdbc_scope_catalog"),
          field("u", "xdbc_scope_schema"),       field("u", "xdbc_scope_table"),    field("b", "xdbc_is_autoincrement"),
          field("b", "xdbc_is_generatedcolumn"),
      });
}

ArrowField constraints() {
  ArrowField usage =
      listOf("constraint_column_usage", {field("u", "fk_catalog"), field("u", "fk_db_schema"),
                                         required(field("u", "fk_table")), required(field("u", "fk_column_name"))});
  ArrowField names = required(list("constraint_column_names", field("u", "item")));
  return listOf("table_constraints", {field("u", "constraint_name"), required(field("u", "constraint_type")),
                                      std::move(names), std::move(usage)});
}

ArrowField schemas() {
  ArrowField tables = listOf("db_schema_tables", {required(field("u", "table_name")),
                                                  required(field("u", "table_type")), columns(), constraints()});
  return listOf("catalog_db_schemas", {field("u", "db_schema_name"), std::move(tables)});
}

ArrowField infoValue() {
  return {"+ud:0,1,2,3,4,5",
          "info_value",
          "",
          {field("u", "string_value"), field("b", "bool_value"), field("l", "int64_value"), field("i", "int32_bitmask"),
           list("string_list", field("u", "item")), numberMap("int32_to_int32_list_map")}};
}

}  // namespace

const ArrowField kInfoFields = structure("", {required(field("I", "info_name")), infoValue()});
const ArrowField kObjectFields = structure("", {field("u", "catalog_name"), schemas()});
const ArrowField kTableTypeFields = structure("", {required(field("u", "table_type"))});

}  // namespace kivo::adbc
