package com.ulvanejdbc;

import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** A JDBC URL with its vendor key: taken ready, or built from parts by the word of the database type. */
final class ConnectionUrl {
  /**
   * Every word that a URL can be built for. In a template {@code {name}} stands for that input, copied unchanged, and a
   * part in brackets is left out when its input is empty (a port of 0 counts as empty there).
   *
   * <p>The words with a second template build by that one when there is no host, for a database in this process. It is
   * {@code mem:name} or a file's path for H2 and HSQLDB, {@code memory:name;create=true} or a directory for Derby; for
   * SQLite it is {@code :memory:} or a file's path.
   */
  private static final Word[] WORDS = {
    new Word("oracle", "oracle", "jdbc:oracle:thin:@{host}:{port}:{instance}")
        .refusingNoInstance("for Oracle the instance name must not be empty"),
    new Word("mssql", "microsoft", "jdbc:microsoft:sqlserver://{host}[\\{instance}]:{port}[;databaseName={database}]"
        + ";responseBuffering=adaptive"),
    new Word("velmar", "velmar", "jdbc:velmar:Tds:{host}:{port}[/{instance}]"),
    new Word("netezza", "netezza", "jdbc:netezza://{host}:{port}[/{instance}]"),
    new Word("teradata", "teradata", "jdbc:teradata://{host}/DBS_PORT={port}[,DATABASE={database}]")
        .complainingOfInstance("teradata jdbc does not support a specified instance."),
    new Word("db2", "db2", "jdbc:db2://{host}:{port}[/{instance}]"),
    new Word("kdb", "kx", "jdbc:q:{host}:{port}"),
    new Word("postgresql", "postgresql", "jdbc:postgresql://{host}:{port}/{instance}"),
    new Word("sqlserver", "sqlserver", "jdbc:sqlserver://{host}[\\{instance}][:{port}][;databaseName={database}]"),
    new Word("mariadb", "mariadb", "jdbc:mariadb://{host}[:{port}]/{database}"),
    new Word("h2", "h2", "jdbc:h2:tcp://{host}[:{port}]/{database}").orWithoutHost("jdbc:h2:{database}"),
    new Word("derby", "derby", "jdbc:derby://{host}[:{port}]/{database}").orWithoutHost("jdbc:derby:{database}"),
    new Word("hsqldb", "hsqldb", "jdbc:hsqldb:hsql://{host}[:{port}]/{database}")
        .orWithoutHost("jdbc:hsqldb:{database}"),
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
  }

  private static final class Word {
    /** An input, with the bracket around it and the text before it there when it has one. */
    private static final Pattern INPUT = Pattern.compile("\\[([^\\[{]*)\\{(\\w+)\\}\\]|\\{(\\w+)\\}");

    private final String name;
    private final String vendor;
    private final String template;
    private String templateWithoutHost;
    private String refusalOfNoInstance;
    private String complaintOfInstance;

    Word(String name, String vendor, String template) {
      this.name = name;
      this.vendor = vendor;
      this.template = template;
      this.templateWithoutHost = template;
    }

    Word orWithoutHost(String otherTemplate) {
      templateWithoutHost = otherTemplate;
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

    ConnectionUrl build(Parts parts) {
      boolean instance = parts.has("instance");
      if (!instance && refusalOfNoInstance != null) throw new MisuseException(refusalOfNoInstance);
      String url = fill(parts.has("host") ? template : templateWithoutHost, parts);
      return new ConnectionUrl(vendor, url, instance ? complaintOfInstance : null);
    }

    /** One pass, so that brackets and braces inside an input stay what they are. */
    private static String fill(String template, Parts parts) {
      Matcher input = INPUT.matcher(template);
      StringBuffer url = new StringBuffer();
      while (input.find()) {
        input.appendReplacement(url, Matcher.quoteReplacement(text(input, parts)));
      }
      return input.appendTail(url).toString();
    }

    private static String text(Matcher input, Parts parts) {
      String optional = input.group(2);
      if (optional == null) return parts.get(input.group(3));
      return parts.has(optional) ? input.group(1) + parts.get(optional) : "";
    }
  }
}
