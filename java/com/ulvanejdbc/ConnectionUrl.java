package com.ulvanejdbc;

import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** A JDBC URL with its vendor key: taken ready, or built from parts by the word of the database type. */
final class ConnectionUrl {
  /**
   * Every word that a URL can be built for. In a template {@code {name}} stands for that input, copied unchanged, and a
   * part in brackets is left out when its input is empty (a port of 0 counts as empty). A port outside brackets is one
   * that the driver cannot do without.
   *
   * <p>An input that the template does not name is refused. Where it names the database and no instance, the database's
   * name may come as either.
   *
   * <p>The words with a second template build by that one when the part that it is for is missing. Without a host that is
   * a database in this process. It is {@code mem:name} or a file's path for H2 and HSQLDB, {@code memory:name;create=true} or a directory for Derby; for
   * SQLite it is {@code :memory:} or a file's path.
   */
  private static final Word[] WORDS = {
    new Word("oracle", "oracle", "jdbc:oracle:thin:@{host}:{port}:{instance}")
        .refusingNoInstance("for Oracle the instance name must not be empty"),
    new Word("mssql", "microsoft", "jdbc:microsoft:sqlserver://{host}[\\{instance}][:{port}][;databaseName={database}]"
        + ";responseBuffering=adaptive"),
    new Word("velmar", "velmar", "jdbc:velmar:Tds:{host}[:{port}][/{database}]"),
    new Word("netezza", "netezza", "jdbc:netezza://{host}[:{port}][/{database}]"),
    new Word("teradata", "teradata", "jdbc:teradata://{host}/DBS_PORT={port}[,DATABASE={database}]")
        .orWithout("port", "jdbc:teradata://{host}[/DATABASE={database}]")
        .complainingOfInstance("teradata jdbc does not support a specified instance."),
    new Word("db2", "db2", "jdbc:db2://{host}[:{port}][/{database}]"),
    new Word("kdb", "kx", "jdbc:q:{host}:{port}"),
    new Word("postgresql", "postgresql", "jdbc:postgresql://{host}[:{port}]/{database}"),
    new Word("sqlserver", "sqlserver", "jdbc:sqlserver://{host}[\\{instance}][:{port}][;databaseName={database}]"),
    new Word("mariadb", "mariadb", "jdbc:mariadb://{host}[:{port}]/{database}"),
    new Word("h2", "h2", "jdbc:h2:tcp://{host}[:{port}]/{database}").orWithout("host", "jdbc:h2:{database}"),
    new Word("derby", "derby", "jdbc:derby://{host}[:{port}]/{database}").orWithout("host", "jdbc:derby:{database}"),
    new Word("hsqldb", "hsqldb", "jdbc:hsqldb:hsql://{host}[:{port}]/{database}")
        .orWithout("host", "jdbc:hsqldb:{database}"),
    new Word("sqlite", "sqlite", "jdbc:sqlite:{database}"),
  };

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

  /** Takes the URL as it stands. Its vendor key is the word after the first five characters. */
  static ConnectionUrl ready(String url) {
    int end = url.indexOf(':', END_OF_JDBC);
    if (end <= END_OF_JDBC) throw new MisuseException("could not parse the url");
    return new ConnectionUrl(url.substring(END_OF_JDBC, end), url, null);
  }

  static ConnectionUrl build(String databaseType, Parts parts) {
    for (Word word : WORDS) {
      if (word.name.equals(databaseType)) return word.build(parts);
    }
    throw new MisuseException("unsupported database type");
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

  private static final class Word {
    /** An input, with the bracket around it and the text before it there when it has one. */
    private static final Pattern INPUT = Pattern.compile("\\[([^\\[{]*)\\{(\\w+)\\}\\]|\\{(\\w+)\\}");

    private final String name;
    private final String vendor;
    private final String template;
    private String missing = "";
    private String templateWithoutIt;
    private String refusalOfNoInstance;
    private String complaintOfInstance;

    Word(String name, String vendor, String template) {
      this.name = name;
      this.vendor = vendor;
      this.template = template;
    }

    /** The template for when this part is missing. */
    Word orWithout(String part, String otherTemplate) {
      missing = part;
      templateWithoutIt = otherTemplate;
      return this;
    }

    Word refusingNoInstance(String refusal) {
      refusalOfNoInstance = refusal;
      return this;
    }

    Word complainingOfInstance(String complaint) {
      complaintOfInstance = complaint;
      return this;
    }

    ConnectionUrl build(Parts given) {
      if (refusalOfNoInstance != null && !given.has("instance")) throw new MisuseException(refusalOfNoInstance);
      Parts parts = instanceMeansDatabase() ? given.withInstanceAsDatabase(name) : given;
      boolean usual = missing.isEmpty() || parts.has(missing);
      String chosen = usual ? template : templateWithoutIt;
      for (String part : Parts.NAMES) {
        if (!parts.has(part) || hasPlaceFor(part, chosen)) continue;
        String word = usual ? name : name + " without a " + missing;
        throw new MisuseException("for " + word + " there is no place for the " + part);
      }
      return new ConnectionUrl(vendor, fill(chosen, parts), parts.has("instance") ? complaintOfInstance : null);
    }

    private boolean instanceMeansDatabase() {
      return hasPlaceFor("database", template) && !hasPlaceFor("instance", template);
    }

    /** An instance that gets a complaint of its own counts as having one. */
    private boolean hasPlaceFor(String part, String inTemplate) {
      return inTemplate.contains("{" + part + "}") || (part.equals("instance") && complaintOfInstance != null);
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
        throw new MisuseException("for " + name + " the port must not be empty");
      }
      return parts.get(needed);
    }
  }
}
