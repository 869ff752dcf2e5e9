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

/** Finds a URL's driver on the class path and connects through it. */
final class Drivers {
  private Drivers() {}

  /** Connects. An empty user or password is not handed to the driver, so that the driver's own defaults hold. */
  static Connection connect(ConnectionUrl target, String user, String password) throws SQLException {
    Properties properties = new Properties();
    putUnlessEmpty(properties, "user", user);
    putUnlessEmpty(properties, "password", password);
    List<SQLException> failures = new ArrayList<>();
    for (Driver driver : all()) {
      Connection connection = accepts(driver, target.url) ? connect(driver, target.url, properties, failures) : null;
      if (connection != null) return connection;
    }
    if (!failures.isEmpty()) throw failures.get(0);
    if (!target.url.startsWith("jdbc:")) {
      throw new MisuseException("no driver found for this URL, which does not begin with jdbc:");
    }
    // Between the colons of a malformed URL anything may stand, a password too: only a word is quoted.
    String word = target.vendor.matches("[\\w-]+") ? "\"" + target.vendor + "\" " : "";
    throw new MisuseException("no driver found for this " + word
        + "URL: the jar of a JDBC driver that takes it must be "
        + "on the class path");
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

  /**
   * The drivers that the jars of the class path offer, then those registered in any other way.
   *
   * <p>They are looked up through this class's own loader: the context loader, where the driver manager looks, is null
   * on a native thread that attached itself.
   */
  private static List<Driver> all() {
    List<Driver> drivers = new ArrayList<>();
    Iterator<Driver> offered = ServiceLoader.load(Driver.class, Drivers.class.getClassLoader()).iterator();
    while (addNext(offered, drivers)) continue;
    for (Driver registered : Collections.list(DriverManager.getDrivers())) {
      // Tried twice, the same driver would count a wrong password twice.
      if (drivers.stream().noneMatch(driver -> driver.getClass() == registered.getClass())) drivers.add(registered);
    }
    return drivers;
  }

  /** A driver that cannot be loaded, by either call, must not keep the other databases out of reach. */
  private static boolean addNext(Iterator<Driver> offered, List<Driver> drivers) {
    try {
      if (!offered.hasNext()) return false;
      drivers.add(offered.next());
    } catch (ServiceConfigurationError | LinkageError unusable) {
      return true;
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
