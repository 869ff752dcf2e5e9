package com.ulvanejdbc.adbc;

import java.sql.DatabaseMetaData;
import java.sql.SQLException;
import java.util.Map;
import java.util.TreeMap;

/** What ADBC's GetInfo reports about a database and this driver. */
final class Info {
  private static final int VENDOR_NAME = 0;
  private static final int VENDOR_VERSION = 1;
  private static final int VENDOR_SQL = 3;
  private static final int VENDOR_SUBSTRAIT = 4;
  private static final int DRIVER_NAME = 100;
  private static final int DRIVER_VERSION = 101;
  private static final int DRIVER_ADBC_VERSION = 103;

  private static final long ADBC_1_1_0 = 1_001_000;

  /** Children of the union. */
  private static final int TEXT = 0;
  private static final int TRUTH = 1;
  private static final int NUMBER = 2;

  private Info() {}

  /** @param codes null for everything; unknown ones are left out */
  static byte[] of(DatabaseMetaData database, int[] codes) throws SQLException {
    Map<Integer, Object> known = new TreeMap<>();
    known.put(VENDOR_NAME, String.valueOf(database.getDatabaseProductName()));
    known.put(VENDOR_VERSION, String.valueOf(database.getDatabaseProductVersion()));
    known.put(VENDOR_SQL, true);
    known.put(VENDOR_SUBSTRAIT, false);
    known.put(DRIVER_NAME, "ADBC driver for JDBC");
    known.put(DRIVER_VERSION, database.getDriverName() + ' ' + database.getDriverVersion());
    known.put(DRIVER_ADBC_VERSION, ADBC_1_1_0);
    if (codes != null) {
      Map<Integer, Object> wanted = new TreeMap<>();
      for (int code : codes) {
        if (known.containsKey(code)) wanted.put(code, known.get(code));
      }
      known = wanted;
    }
    TreeWriter tree = new TreeWriter().count(known.size());
    known.forEach((code, value) -> write(tree.int32(code), value));
    return tree.toBytes();
  }

  private static void write(TreeWriter tree, Object value) {
    if (value instanceof String) {
      tree.choice(TEXT).text((String) value);
    } else if (value instanceof Boolean) {
      tree.choice(TRUTH).bool((Boolean) value);
    } else {
      tree.choice(NUMBER).int64((Long) value);
    }
  }
}
