package bench;

import java.io.BufferedReader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.PreparedStatement;

/** The program that one would write in Java to load a CSV file: typed parameters, batches, one transaction. */
public final class LoadCsv {
  private static final int ROWS_A_BATCH = 1000;

  private LoadCsv() {}

  /** @param arguments URL, user, file, table; the password is in the environment */
  public static void main(String[] arguments) throws Exception {
    try (Connection connection = DriverManager.getConnection(arguments[0], arguments[1], System.getenv("KIVO_PASSWORD"));
        BufferedReader file = Files.newBufferedReader(Paths.get(arguments[2]), StandardCharsets.UTF_8)) {
      connection.setAutoCommit(false);
      try (PreparedStatement insert = connection.prepareStatement("insert into " + arguments[3] + " values (?, ?, ?)")) {
        int waiting = 0;
        file.readLine();
        for (String line = file.readLine(); line != null; line = file.readLine()) {
          String[] fields = line.split(",");
          insert.setInt(1, Integer.parseInt(fields[0]));
          insert.setString(2, fields[1]);
          insert.setDouble(3, Double.parseDouble(fields[2]));
          insert.addBatch();
          if (++waiting % ROWS_A_BATCH == 0) insert.executeBatch();
        }
        insert.executeBatch();
      }
      connection.commit();
    }
  }
}
