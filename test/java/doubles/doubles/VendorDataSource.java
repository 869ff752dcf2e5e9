package doubles;

import java.util.Properties;

/** A DataSource with every setter that some vendor needs. */
public class VendorDataSource extends ServerDataSource {
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
