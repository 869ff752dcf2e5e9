package com.ulvanejdbc.adbc;

import java.util.ArrayList;
import java.util.List;

/** A key of a table. */
final class Constraint {
  private final String name;
  private final String type;
  private final List<String> columns = new ArrayList<>();

  /** Of a foreign key, for each column: the catalogue, the schema, the table and the column that it refers to. */
  private final List<String[]> references = new ArrayList<>();

  Constraint(String name, String type) {
    this.name = name;
    this.type = type;
  }

  /** @param reference null, except in a foreign key */
  void add(String column, String[] reference) {
    columns.add(column);
    if (reference != null) references.add(reference);
  }

  List<String> columns() {
    return columns;
  }

  void write(TreeWriter tree) {
    tree.struct().text(name).text(type).count(columns.size());
    columns.forEach(tree::text);
    tree.count(references.size());
    for (String[] reference : references) {
      tree.struct();
      for (String part : reference) tree.text(part);
    }
  }
}
