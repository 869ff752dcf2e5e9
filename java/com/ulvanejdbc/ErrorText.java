package com.ulvanejdbc;

import java.sql.SQLException;
import java.util.ArrayDeque;
import java.util.ArrayList;
import java.util.Deque;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Set;
import java.util.stream.Collectors;

/** What a person reads about a failure: one line for each exception of the chain, each told once. */
final class ErrorText {
  private static final int MOST_LINES = 20;

  private final String text;
  private final String codes;

  private ErrorText(String text, String codes) {
    this.text = text;
    this.codes = codes;
  }

  /** The failure's own text first, then its next exceptions and causes, the nearest first. */
  static String of(Throwable failure) {
    try {
      return lines(failure);
    } catch (OutOfMemoryError noMemoryLeft) {
      return "out of memory";
    } catch (Throwable ofADriversOwnMethod) {
      return failure.getClass().getName();
    }
  }

  /** Not what ran out of memory in a driver that wrapped it in an exception of its own, or leaves none to look. */
  static boolean isOfDatabase(Throwable failure) {
    try {
      return failure instanceof SQLException
          && chain(failure).stream().noneMatch(link -> link instanceof OutOfMemoryError);
    } catch (Throwable cannotBeTold) {
      return false;
    }
  }

  private static String lines(Throwable failure) {
    List<ErrorText> told = new ArrayList<>();
    int more = 0;
    for (Throwable link : chain(failure)) {
      if (told.size() < MOST_LINES) {
        addUnlessTold(told, link);
      } else {
        ++more;
      }
    }
    String lines = told.stream().map(line -> line.text + line.codes).collect(Collectors.joining("\n"));
    return more == 0 ? lines : lines + "\nand " + more + " more";
  }

  private static Set<Throwable> chain(Throwable failure) {
    Set<Throwable> chain = new LinkedHashSet<>();
    Deque<Throwable> left = new ArrayDeque<>();
    left.add(failure);
    while (!left.isEmpty()) {
      Throwable link = left.remove();
      // Some drivers link exceptions in rings.
      if (!chain.add(link)) continue;
      if (link instanceof SQLException) addUnlessNull(left, ((SQLException) link).getNextException());
      addUnlessNull(left, link.getCause());
    }
    return chain;
  }

  private static void addUnlessNull(Deque<Throwable> left, Throwable next) {
    if (next != null) left.add(next);
  }

  /** Drivers wrap an exception in another that repeats its text, perhaps with words of their own in front. */
  private static void addUnlessTold(List<ErrorText> told, Throwable failure) {
    String message = failure.getMessage() == null ? failure.getClass().getName() : failure.getMessage().trim();
    String codes = failure instanceof SQLException ? codes((SQLException) failure) : "";
    for (ErrorText line : told) {
      if (line.text.endsWith(message) && (codes.isEmpty() || codes.equals(line.codes))) return;
    }
    told.add(new ErrorText(prefix(failure) + message, codes));
  }

  private static String codes(SQLException failure) {
    String state = failure.getSQLState() == null ? "" : failure.getSQLState();
    return " [" + state + "/" + failure.getErrorCode() + "]";
  }

  /** Where the message alone does not say what kind of failure it is. */
  private static String prefix(Throwable failure) {
    if (failure instanceof OutOfMemoryError) return "out of memory: ";
    if (failure instanceof SQLException || failure instanceof MisuseException) return "";
    if (failure.getMessage() == null) return "";
    return failure.getClass().getName() + ": ";
  }
}
