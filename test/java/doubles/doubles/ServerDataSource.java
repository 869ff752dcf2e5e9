package doubles;

import java.sql.Connection;

/** A DataSource with the setters that most vendors share, and no others. */
public class ServerDataSource {
  public ServerDataSource() {
    Recorder.enter(getClass().getSimpleName() + ".<init>", "");
  }

  public void setServerName(String host) {
    set("setServerName", host);
  }

  public void setPortNumber(int port) {
    set("setPortNumber", port);
  }

  public void setDatabaseName(String database) {
    set("setDatabaseName", database);
  }

  public void setUser(String user) {
    set("setUser", user);
  }

  public void setPassword(String password) {
    set("setPassword", password);
  }

  public Connection getConnection() {
    String answer = Recorder.enter("DataSource.getConnection", "");
    return answer == null ? null : JdbcDouble.make(Connection.class, null);
  }

  protected final void set(String setter, Object value) {
    Recorder.enter("DataSource." + setter, "", value);
  }
}
