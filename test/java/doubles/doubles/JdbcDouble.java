package doubles;

import java.lang.reflect.InvocationHandler;
import java.lang.reflect.Method;
import java.lang.reflect.Proxy;
import java.sql.BatchUpdateException;
import java.sql.DatabaseMetaData;
import java.sql.ResultSet;
import java.sql.ResultSetMetaData;
import java.sql.Statement;
import java.util.Arrays;

/** Plays every JDBC interface that the library calls. */
final class JdbcDouble implements InvocationHandler {
  private static final String DEFAULT_RESULT = "ID:4,NAME:12,AT:93\n1,one,2001\n2,null,null";

  private final Class<?> type;
  private final Table table;
  private int batched;
  private boolean autoCommit = true;
  private boolean closed;

  private JdbcDouble(Class<?> type, Table table) {
    this.type = type;
    this.table = table;
  }

  static <T> T make(Class<T> type, Table table) {
    JdbcDouble handler = new JdbcDouble(type, table);
    return type.cast(Proxy.newProxyInstance(type.getClassLoader(), new Class<?>[] {type}, handler));
  }

  @Override
  public Object invoke(Object self, Method method, Object[] arguments) throws Throwable {
    if (method.getDeclaringClass() == Object.class) {
      return method.invoke(this, arguments);
    }
    String member = type.getSimpleName() + "." + method.getName();
    String answer = Recorder.enter(member, "", arguments);
    if (answer == null) return null;
    Object result = table == null ? answer(member, answer, arguments) : cell(member, arguments);
    if (result != null) return result;
    Class<?> wanted = method.getReturnType();
    return wanted == int.class ? (Object) 0 : wanted == boolean.class ? false : null;
  }

  private Object answer(String member, String answer, Object[] arguments) throws BatchUpdateException {
    switch (member) {
      case "Connection.getAutoCommit":
        return autoCommit && answer.isEmpty();
      case "Connection.setAutoCommit":
        autoCommit = (Boolean) arguments[0];
        return null;
      case "Connection.getTransactionState":
        return Integer.parseInt(answer);
      case "Connection.isValid":
        return answer.isEmpty();
      case "Connection.isClosed":
      case "Statement.isClosed":
        return closed;
      case "Connection.close":
      case "Statement.close":
        closed = true;
        return null;
      case "Connection.createStatement":
        return make(Statement.class, null);
      case "Connection.getMetaData":
        return make(DatabaseMetaData.class, null);
      case "DatabaseMetaData.getTables":
        return make(ResultSet.class, new Table(answer));
      case "Statement.executeQuery":
        return make(ResultSet.class, new Table(result((String) arguments[0])));
      case "Statement.executeUpdate":
        return answer.isEmpty() ? 7 : Integer.parseInt(answer);
      case "Statement.addBatch":
        ++batched;
        return null;
      case "Statement.executeBatch":
        return executeBatch(answer);
      default:
        return null;
    }
  }

  /** What a result or its metadata answers. */
  private Object cell(String member, Object[] arguments) {
    switch (member) {
      case "ResultSet.getMetaData":
        return make(ResultSetMetaData.class, table);
      case "ResultSet.next":
        return table.next();
      case "ResultSet.getString":
        return table.cell((Integer) arguments[0]);
      case "ResultSet.getInt":
        return Integer.parseInt(table.cell((Integer) arguments[0]));
      case "ResultSetMetaData.isSigned":
        return true;
      case "ResultSetMetaData.getColumnCount":
        return table.columnCount();
      case "ResultSetMetaData.getColumnLabel":
      case "ResultSetMetaData.getColumnName":
        return table.columnName((Integer) arguments[0]);
      case "ResultSetMetaData.getColumnType":
        return table.columnType((Integer) arguments[0]);
      default:
        return null;
    }
  }

  private static String result(String sql) {
    return Recorder.value(sql, Recorder.scripted(sql, DEFAULT_RESULT));
  }

  /** @param answer counts, followed by the SQL state and the text of a failure if it is to fail; or nothing */
  private int[] executeBatch(String answer) throws BatchUpdateException {
    int added = batched;
    batched = 0;
    if (!answer.isEmpty()) {
      String[] parts = answer.split(" ", 3);
      if (parts.length == 3) throw new BatchUpdateException(parts[2], parts[1], counts(parts[0]));
      return counts(parts[0]);
    }
    int[] ones = new int[added];
    Arrays.fill(ones, 1);
    return ones;
  }

  private static int[] counts(String list) {
    if (list.equals("null")) return null;
    if (list.equals("none")) return new int[0];
    return Arrays.stream(list.split(",")).mapToInt(Integer::parseInt).toArray();
  }
}
