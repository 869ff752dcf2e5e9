package com.ulvanejdbc;

import java.sql.Connection;
import java.sql.Driver;
import java.sql.DriverManager;
import java.sql.SQLException;
import java.util.ArrayList;
import java.util.Collections;
import java.util.Iterator;
import java.util.List;
import java.util.Properties;
import java.util.ServiceConfigurationError;
import java.util.ServiceLoader;

/** Finds a URL's driver and connects through it. */
public final class Drivers {
  private final ClassLoader loader;
  private final String driverClass;

  /** Why a driver could not be loaded; null if all could. */
  private Throwable unusable;

  /**
   * @param loader where drivers are looked for
   * @param driverClass the driver's class; null to take whichever driver takes the URL
   */
  public Drivers(ClassLoader loader, String driverClass) {
    this.loader = loader;
    this.driverClass = driverClass;
  }

  /**
   * Connects by a driver of the class path, looked up through this class's own loader: the context loader, where the
   * driver manager looks, is null on a native thread that attached itself. An empty user or password is not handed to
   * the driver, so that the driver's own defaults hold.
   */
  static Connection connect(ConnectionUrl target, String user, String password) throws SQLException {
    Properties properties = new Properties();
    putUnlessEmpty(properties, "user", user);
    putUnlessEmpty(properties, "password", password);
    return new Drivers(Drivers.class.getClassLoader(), null).connect(target.url, properties);
  }

  public Connection connect(String url, Properties properties) throws SQLException {
    List<SQLException> failures = new ArrayList<>();
    for (Driver driver : driverClass == null ? all() : named()) {
      Connection connection = accepts(driver, url) ? connect(driver, url, properties, failures) : null;
      if (connection != null) return connection;
    }
    if (!failures.isEmpty()) throw failures.get(0);
    if (!url.startsWith("jdbc:")) {
      throw new MisuseException("no driver found for this URL, which does not begin with jdbc:");
    }
    // Between the colons of a malformed URL anything may stand, a password too: only a word is quoted.
    String vendor = ConnectionUrl.ready(url).vendor;
    String word = vendor.matches("[\\w-]+") ? "\"" + vendor + "\" " : "";
    MisuseException none =
        new MisuseException("no driver found for this " + word + "URL: the jar of a JDBC driver that takes it must be "
            + "on the class path");
    none.initCause(unusable);
    throw none;
  }

  private List<Driver> named() throws SQLException {
    try {
      return Collections.singletonList((Driver) loader.loadClass(driverClass).getDeclaredConstructor().newInstance());
    } catch (ReflectiveOperationException | ClassCastException | LinkageError broken) {
      MisuseException cannot = new MisuseException("the driver class " + driverClass + " cannot be used");
      cannot.initCause(broken);
      throw cannot;
    }
  }

  /** Where two drivers take a URL, the failure of one leaves it to the other. */
  private static Connection connect(Driver driver, String url, Properties properties, List<SQLException> failures) {
    try {
      return driver.connect(url, properties);
    } catch (SQLException failure) {
      failures.add(failure);
      return null;
    }
  }

  private static void putUnlessEmpty(Properties properties, String name, String value) {
    if (!ConnectionUrl.isEmpty(value)) properties.setProperty(name, value);
  }

  /** The drivers that the loader's jars offer, then those registered in any other way. */
  private List<Driver> all() {
    List<Driver> drivers = new ArrayList<>();
    Iterator<Driver> offered = ServiceLoader.load(Driver.class, loader).iterator();
    while (addNext(offered, drivers)) continue;
    for (Driver registered : Collections.list(DriverManager.getDrivers())) {
      // Tried twice, the same driver would count a wrong password twice.
      if (drivers.stream().noneMatch(driver -> driver.getClass() == registered.getClass())) drivers.add(registered);
    }
    return drivers;
  }

  /** A driver that cannot be loaded, by either call, must not keep the other databases out of reach. */
  private boolean addNext(Iterator<Driver> offered, List<Driver> drivers) {
    try {
      if (!offered.hasNext()) return false;
      drivers.add(offered.next());
    } catch (ServiceConfigurationError | LinkageError broken) {
      unusable = broken;
    }
    return true;
  }

  /** Nor must one that throws for another's URL. */
  private static boolean accepts(Driver driver, String url) {
    try {
      return driver.acceptsURL(url);
    } catch (SQLException | RuntimeException | LinkageError unusable) {
      return false;
    }
  }
}
