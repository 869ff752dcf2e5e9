package doubles;

/** A result as text: a line of columns "NAME:type,...", then a line a row "cell,..."; a row or cell may be "throw". */
final class Table {
  private final String[] lines;
  private final String[] columns;
  private int row;

  Table(String text) {
    lines = text.split("\n");
    columns = lines[0].isEmpty() ? new String[0] : lines[0].split(",");
  }

  int columnCount() {
    return columns.length;
  }

  String columnName(int column) {
    return Recorder.value("Column name", columns[column - 1].split(":")[0]);
  }

  int columnType(int column) {
    return Integer.parseInt(columns[column - 1].split(":")[1]);
  }

  boolean next() {
    if (++row < lines.length) {
      Recorder.value("Row", lines[row]);
    }
    return row < lines.length;
  }

  String cell(int column) {
    return Recorder.value("Cell", lines[row].split(",", -1)[column - 1]);
  }
}
