package com.ulvanejdbc;

import java.sql.BatchUpdateException;
import java.sql.SQLException;
import java.util.ArrayDeque;
import java.util.ArrayList;
import java.util.Deque;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import java.util.stream.Collectors;

/** A failure as text for people: one line for each exception of the chain, without repetition. */
public final class ErrorText {
  private static final int MAX_LINES = 20;

  private final String text;
  private String codes;

  private ErrorText(String text, String codes) {
    this.text = text;
    this.codes = codes;
  }

  /** An exception of the chain, with the codes of the one that it is the cause of. */
  private static final class Link {
    private final Throwable failure;
    private final String codesAbove;

    private Link(Throwable failure, String codesAbove) {
      this.failure = failure;
      this.codesAbove = codesAbove;
    }
  }

  /** The failure's own text first, then its next exceptions and causes, the nearest first. */
  public static String of(Throwable failure) {
    try {
      return lines(failure);
    } catch (OutOfMemoryError noMemoryLeft) {
      return "out of memory";
    } catch (Throwable ofADriversOwnMethod) {
      return failure.getClass().getName();
    }
  }

  /** Not what ran out of memory in a driver that wrapped it in an exception of its own, or leaves none to look. */
  public static boolean isOfDatabase(Throwable failure) {
    try {
      return failure instanceof SQLException
          && chain(failure).stream().noneMatch(link -> link.failure instanceof OutOfMemoryError);
    } catch (Throwable cannotBeKnown) {
      return false;
    }
  }

  private static String lines(Throwable failure) {
    List<ErrorText> texts = new ArrayList<>();
    int more = 0;
    for (Link link : chain(failure)) {
      if (isRepeatedByAnother(link)) continue;
      if (texts.size() < MAX_LINES) {
        addUnlessRepeated(texts, link.failure);
      } else {
        ++more;
      }
    }
    String lines = texts.stream().map(line -> line.text + line.codes).collect(Collectors.joining("\n"));
    return more == 0 ? lines : lines + "\nand " + more + " more";
  }

  private static List<Link> chain(Throwable failure) {
    List<Link> chain = new ArrayList<>();
    Set<Throwable> seen = new HashSet<>();
    Deque<Link> left = new ArrayDeque<>();
    left.add(new Link(failure, ""));
    while (!left.isEmpty()) {
      Link link = left.remove();
      // Some drivers link exceptions in rings.
      if (!seen.add(link.failure)) continue;
      chain.add(link);
      boolean isSql = link.failure instanceof SQLException;
      if (isSql) addUnlessNull(left, ((SQLException) link.failure).getNextException(), "");
      addUnlessNull(left, link.failure.getCause(), isSql ? codes((SQLException) link.failure) : link.codesAbove);
    }
    return chain;
  }

  private static void addUnlessNull(Deque<Link> left, Throwable next, String codesAbove) {
    if (next != null) left.add(new Link(next, codesAbove));
  }

  /**
   * A batch's exception repeats the next one after the whole statement, a cause with the codes of what it caused is
   * the same failure before it got its details, and drivers' inner exceptions come with the text of their cause.
   */
  private static boolean isRepeatedByAnother(Link link) {
    Throwable failure = link.failure;
    if (!(failure instanceof SQLException)) {
      return failure.getCause() != null && message(failure).equals(message(failure.getCause()));
    }
    SQLException next = ((SQLException) failure).getNextException();
    if (failure instanceof BatchUpdateException) return next != null && message(failure).contains(message(next));
    return ((SQLException) failure).getErrorCode() != 0 && codes((SQLException) failure).equals(link.codesAbove);
  }

  private static String message(Throwable failure) {
    return failure.getMessage() == null ? failure.getClass().getName() : failure.getMessage().trim();
  }

  /** Drivers wrap an exception in another that repeats its text, perhaps with words of their own in front. */
  private static void addUnlessRepeated(List<ErrorText> texts, Throwable failure) {
    String message = message(failure);
    String codes = failure instanceof SQLException ? codes((SQLException) failure) : "";
    for (ErrorText line : texts) {
      if (!line.text.endsWith(message)) continue;
      if (line.codes.isEmpty()) line.codes = codes;
      if (codes.isEmpty() || codes.equals(line.codes)) return;
    }
    texts.add(new ErrorText(prefix(failure) + message, codes));
  }

  private static String codes(SQLException failure) {
    String state = failure.getSQLState() == null ? "" : failure.getSQLState();
    if (state.isEmpty() && failure.getErrorCode() == 0) return "";
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
