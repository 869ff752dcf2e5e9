package doubles;

import java.sql.Driver;
import java.sql.DriverManager;
import java.sql.DriverPropertyInfo;
import java.sql.SQLException;
import java.util.Properties;
import java.util.logging.Logger;

/**
 * A driver of every URL, whose connections the script plays. With "telling" in it they report a transaction's state.
 */
public class DriverDouble implements Driver {
  static {
    try {
      DriverManager.registerDriver(new DriverDouble());
    } catch (SQLException refused) {
      throw new ExceptionInInitializerError(refused);
    }
  }

  /** As PostgreSQL's driver has it; the doubles go by the name. */
  public interface Connection extends java.sql.Connection {
    int getTransactionState();
  }

  /** One that comes first and always fails. It accepts a URL with "shared" in it. */
  public static final class Failing extends DriverDouble {
    @Override
    public boolean acceptsURL(String url) {
      if (url.contains("shared")) return true;
      throw new IllegalStateException("never heard of it");
    }

    @Override
    public java.sql.Connection connect(String url, Properties properties) throws SQLException {
      throw new SQLException("the first driver failed");
    }
  }

  @Override
  public boolean acceptsURL(String url) {
    return true;
  }

  @Override
  public java.sql.Connection connect(String url, Properties properties) throws SQLException {
    Recorder.enter("Driver.connect", "", url);
    if (url.contains("telling")) return JdbcDouble.make(Connection.class, null);
    return JdbcDouble.make(java.sql.Connection.class, null);
  }

  @Override
  public DriverPropertyInfo[] getPropertyInfo(String url, Properties properties) {
    return new DriverPropertyInfo[0];
  }

  @Override
  public int getMajorVersion() {
    return 1;
  }

  @Override
  public int getMinorVersion() {
    return 0;
  }

  @Override
  public boolean jdbcCompliant() {
    return false;
  }

  @Override
  public Logger getParentLogger() {
    return Logger.getGlobal();
  }
}
