package doubles;

import java.util.Vector;

/** A Java connection class; none of it is public, since access control does not apply to native callers. */
final class Bridge {
  private int row;

  private Bridge() {
    Recorder.enter("Bridge.<init>", "");
  }

  private void setParams(String[] names, String[] values) {
    Recorder.enter("Bridge.setParams", "", names, values);
  }

  private void connect() {
    Recorder.enter("Bridge.connect", "");
  }

  private boolean canDiscover() {
    return Boolean.parseBoolean(Recorder.enter("Bridge.canDiscover", "true"));
  }

  private void query() {
    Recorder.enter("Bridge.query", "");
  }

  private boolean next() {
    return row++ < Integer.parseInt(Recorder.enter("Bridge.next", "2"));
  }

  private String getColumn(int index) {
    return Recorder.enter("Bridge.getColumn", "value", index);
  }

  private boolean discoverTables(Vector<Object> tables) {
    return fill(Recorder.enter("Bridge.discoverTables", "ORDERS,ITEMS", tables), tables);
  }

  private boolean discoverTable(String table, Vector<Object> first, Vector<Object> second) {
    String[] lists = Recorder.enter("Bridge.discoverTable", "ID,NAME;INT", table, first, second).split(";", -1);
    return fill(lists[0], first) & fill(lists[1], second);
  }

  /** Adds names: "null" is no string, "#" a foreign object; "no" refuses the list. */
  private static boolean fill(String list, Vector<Object> names) {
    for (String name : list.isEmpty() ? new String[0] : list.split(",")) {
      names.add(name.equals("null") ? null : name.equals("#") ? Integer.valueOf(7) : name);
    }
    return !names.contains("no");
  }
}
