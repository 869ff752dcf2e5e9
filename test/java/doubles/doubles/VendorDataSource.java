package doubles;

import java.sql.Connection;
import java.util.Properties;

/** A DataSource with every setter that some vendor needs. */
public class VendorDataSource {
  public VendorDataSource() {
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

  private static void set(String setter, Object value) {
    Recorder.enter("DataSource." + setter, "", value);
  }

  public void setURL(String url) {
    set("setURL", url);
  }

  public void setDSName(String host) {
    set("setDSName", host);
  }

  public void setDBS_PORT(String port) {
    set("setDBS_PORT", port);
  }

  public void setDATABASE(String database) {
    set("setDATABASE", database);
  }

  public void setDriverType(int type) {
    set("setDriverType", type);
  }

  public void setConnectionProperties(Properties properties) {
    set("setConnectionProperties", properties);
  }

  public void setuser(String user) {
    set("setuser", user);
  }

  public void setpassword(String password) {
    set("setpassword", password);
  }
}
