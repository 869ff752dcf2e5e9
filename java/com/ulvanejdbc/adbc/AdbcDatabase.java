package com.ulvanejdbc.adbc;

import com.ulvanejdbc.Drivers;
import com.ulvanejdbc.arrow.Fallible;
import java.io.File;
import java.net.MalformedURLException;
import java.net.URL;
import java.net.URLClassLoader;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.Properties;

/**
 * A database, with a class loader of its own for its driver. Native code finds this class and its methods by name.
 * Nothing is thrown to it: a failure is kept, with {@link #failure} for its text.
 */
public final class AdbcDatabase extends Fallible {
  private static final String JDBC = "jdbc:";
  private static final String PROPERTY = "adbc.jdbc.property.";

  private final Map<String, String> options = new HashMap<>();
  private URLClassLoader drivers;

  private AdbcDatabase() {}

  /** @param options names and values in turn; see the native side for the names */
  public static AdbcDatabase open(String[] options) {
    AdbcDatabase database = new AdbcDatabase();
    database.attempt(() -> {
      for (int index = 0; index < options.length; index += 2) database.options.put(options[index], options[index + 1]);
      database.loadDrivers();
    });
    return database;
  }

  private void loadDrivers() throws AdbcException {
    List<URL> jars = new ArrayList<>();
    for (String path : options.getOrDefault("adbc.jdbc.driver_path", "").split(":")) {
      if (!path.isEmpty()) addJars(new File(path), jars);
    }
    drivers = new URLClassLoader(jars.toArray(new URL[0]), AdbcDatabase.class.getClassLoader());
  }

  /** A folder means itself and the jars in it. */
  private static void addJars(File path, List<URL> jars) throws AdbcException {
    if (!path.canRead()) throw invalid("adbc.jdbc.driver_path: cannot read " + path);
    try {
      jars.add(path.toURI().toURL());
      File[] inFolder = path.listFiles(file -> file.getName().endsWith(".jar"));
      if (inFolder == null) return;
      Arrays.sort(inFolder);
      for (File jar : inFolder) jars.add(jar.toURI().toURL());
    } catch (MalformedURLException noUrl) {
      throw invalid("adbc.jdbc.driver_path: " + noUrl.getMessage());
    }
  }

  private static AdbcException invalid(String message) {
    return new AdbcException(Status.INVALID_ARGUMENT, message);
  }

  /** @return null after a failure */
  public AdbcConnection connect() {
    AdbcConnection[] made = {null};
    attempt(() -> {
      String url = options.get("uri");
      if (!url.startsWith(JDBC)) url = JDBC + url;
      Drivers found = new Drivers(drivers, options.get("adbc.jdbc.driver_class"));
      made[0] = new AdbcConnection(found.connect(url, properties()), url);
    });
    return made[0];
  }

  private Properties properties() {
    Properties properties = new Properties();
    for (Map.Entry<String, String> option : options.entrySet()) {
      String name = option.getKey();
      if (name.startsWith(PROPERTY)) properties.setProperty(name.substring(PROPERTY.length()), option.getValue());
    }
    if (options.containsKey("username")) properties.setProperty("user", options.get("username"));
    if (options.containsKey("password")) properties.setProperty("password", options.get("password"));
    return properties;
  }

  @Override
  protected String place() {
    return "";
  }
}
