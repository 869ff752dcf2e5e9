package com.ulvanejdbc.adbc;

import com.ulvanejdbc.Drivers;
import com.ulvanejdbc.ErrorText;
import com.ulvanejdbc.MisuseException;
import com.ulvanejdbc.arrow.Fallible;
import java.io.File;
import java.net.MalformedURLException;
import java.net.URL;
import java.net.URLClassLoader;
import java.sql.Connection;
import java.sql.SQLException;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.Properties;

/**
 * A database, and the class loader of its driver. Database objects with the same jars share one: a driver with a native
 * part can be loaded once. Native code finds this class and its methods by name.
 * Nothing is thrown to it: a failure is kept, with {@link #failure} for its text.
 */
public final class AdbcDatabase extends Fallible {
  private static final String JDBC = "jdbc:";
  private static final String PROPERTY = "adbc.jdbc.property.";

  private static final Map<List<String>, URLClassLoader> LOADERS = new HashMap<>();

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
    List<File> jars = new ArrayList<>();
    for (String path : options.getOrDefault("adbc.jdbc.driver_path", "").split(":")) {
      if (!path.isEmpty()) addJars(new File(path), jars);
    }
    drivers = loaderOf(jars);
  }

  /** A folder means itself and the jars in it. */
  private static void addJars(File path, List<File> jars) throws AdbcException {
    if (!path.canRead()) {
      throw new AdbcException(Status.INVALID_ARGUMENT, "adbc.jdbc.driver_path: cannot read " + path);
    }
    jars.add(path);
    File[] inFolder = path.listFiles(file -> file.getName().endsWith(".jar"));
    if (inFolder == null) return;
    Arrays.sort(inFolder);
    jars.addAll(Arrays.asList(inFolder));
  }

  /** A jar that was replaced since is another one. */
  private static URLClassLoader loaderOf(List<File> jars) {
    List<String> key = new ArrayList<>();
    for (File jar : jars) key.add(jar.getAbsolutePath() + '\0' + jar.lastModified());
    synchronized (LOADERS) {
      return LOADERS.computeIfAbsent(key, none -> {
        URL[] urls = jars.stream().map(AdbcDatabase::url).toArray(URL[] ::new);
        return new URLClassLoader(urls, AdbcDatabase.class.getClassLoader());
      });
    }
  }

  private static URL url(File jar) {
    try {
      return jar.toURI().toURL();
    } catch (MalformedURLException impossible) {
      throw new IllegalArgumentException(impossible);
    }
  }

  /** @return null after a failure */
  public AdbcConnection connect() {
    AdbcConnection[] made = {null};
    attempt(() -> {
      String url = options.get("uri");
      if (!url.startsWith(JDBC)) url = JDBC + url;
      made[0] = new AdbcConnection(connect(url), url);
    });
    return made[0];
  }

  /** Some drivers repeat a URL that they cannot read, with the password in it. */
  private Connection connect(String url) throws SQLException {
    try {
      return new Drivers(drivers, options.get("adbc.jdbc.driver_class")).connect(url, properties());
    } catch (MisuseException wrong) {
      throw new AdbcException(Status.INVALID_ARGUMENT, wrong.getMessage());
    } catch (SQLException refused) {
      if (!ErrorText.of(refused).contains(url)) throw refused;
      throw new AdbcException(Status.INVALID_ARGUMENT, "the driver cannot read the URL");
    }
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
