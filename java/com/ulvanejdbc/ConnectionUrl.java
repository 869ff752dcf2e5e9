package com.ulvanejdbc;

import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * A JDBC URL with its vendor key: taken as it is, or built from parts by the template of the database type.
 *
 * <p>In a template {@code {name}} stands for that input, copied unchanged. A part in brackets is left out when its
 * input is empty (a port of 0 counts as empty). A port outside brackets is required by the driver. An input that the
 * template does not name is refused. Where it names the database but no instance, either input may hold the database's
 * name.
 *
 * <p>A database with a second template uses it when the part that it is for is missing. Without a host, that is a
 * database in this process: {@code mem:name} or a file's path for H2 and HSQLDB, {@code memory:name;create=true} or a
 * directory for Derby, {@code :memory:} or a file's path for SQLite.
 */
final class ConnectionUrl {
  private static final int END_OF_JDBC = "jdbc:".length();

  final String vendor;
  final String url;

  /** Null, or what is wrong with the input although a URL could be built from it. */
  final String complaint;

  private ConnectionUrl(String vendor, String url, String complaint) {
    this.vendor = vendor;
    this.url = url;
    this.complaint = complaint;
  }

  /** Takes the URL as it is. Its vendor key is the word after the first five characters. */
  static ConnectionUrl ready(String url) {
    int end = url.indexOf(':', END_OF_JDBC);
    if (end <= END_OF_JDBC) throw new MisuseException("could not parse the url");
    return new ConnectionUrl(url.substring(END_OF_JDBC, end), url, null);
  }

  static ConnectionUrl build(String databaseType, Parts parts) {
    DatabaseRow row = Database.urlRow(databaseType);
    if (row == null) throw new MisuseException("unsupported database type");
    return new Builder(row).build(parts);
  }

  static boolean isEmpty(String text) {
    return text == null || text.isEmpty();
  }

  /** What a URL is built from. */
  static final class Parts {
    private static final String[] NAMES = {"host", "port", "instance", "database"};

    private final String host;
    private final int port;
    private final String instance;
    private final String database;

    Parts(String host, int port, String instance, String database) {
      this.host = host;
      this.port = port;
      this.instance = instance;
      this.database = database;
    }

    private String get(String name) {
      switch (name) {
        case "host":
          return host;
        case "port":
          return String.valueOf(port);
        case "instance":
          return instance;
        default:
          return database;
      }
    }

    private boolean has(String name) {
      return name.equals("port") ? port != 0 : !isEmpty(get(name));
    }

    Parts withInstanceAsDatabase(String word) {
      if (!has("instance")) return this;
      if (has("database") && !database.equals(instance)) {
        throw new MisuseException("for " + word + " instance and database mean the same, but their values differ");
      }
      return new Parts(host, port, null, instance);
    }
  }

  private static final class Builder {
    /** An input, with the bracket around it and the text before it there when it has one. */
    private static final Pattern INPUT = Pattern.compile("\\[([^\\[{]*)\\{(\\w+)\\}\\]|\\{(\\w+)\\}");

    private final DatabaseRow row;

    Builder(DatabaseRow row) {
      this.row = row;
    }

    ConnectionUrl build(Parts given) {
      if (row.refusalOfNoInstance != null && !given.has("instance")) throw new MisuseException(row.refusalOfNoInstance);
      Parts parts = instanceMeansDatabase() ? given.withInstanceAsDatabase(row.word) : given;
      boolean usual = row.optionalPart.isEmpty() || parts.has(row.optionalPart);
      String chosen = usual ? row.url : row.urlWithoutPart;
      for (String part : Parts.NAMES) {
        if (!parts.has(part) || hasPlaceFor(part, chosen)) continue;
        String word = usual ? row.word : row.word + " without a " + row.optionalPart;
        throw new MisuseException("for " + word + " there is no place for the " + part);
      }
      return new ConnectionUrl(row.vendor, fill(chosen, parts), parts.has("instance") ? row.complaintOfInstance : null);
    }

    private boolean instanceMeansDatabase() {
      return hasPlaceFor("database", row.url) && !hasPlaceFor("instance", row.url);
    }

    /** An instance that gets a complaint of its own counts as having one. */
    private boolean hasPlaceFor(String part, String inTemplate) {
      return inTemplate.contains("{" + part + "}") || (part.equals("instance") && row.complaintOfInstance != null);
    }

    /** One pass, so that brackets and braces inside an input stay what they are. */
    private String fill(String template, Parts parts) {
      Matcher input = INPUT.matcher(template);
      StringBuffer url = new StringBuffer();
      while (input.find()) {
        input.appendReplacement(url, Matcher.quoteReplacement(text(input, parts)));
      }
      return input.appendTail(url).toString();
    }

    private String text(Matcher input, Parts parts) {
      String optional = input.group(2);
      if (optional != null) return parts.has(optional) ? input.group(1) + parts.get(optional) : "";
      String needed = input.group(3);
      if (needed.equals("port") && !parts.has(needed)) {
        throw new MisuseException("for " + row.word + " the port must not be empty");
      }
      return parts.get(needed);
    }
  }
}
