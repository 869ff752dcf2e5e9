package com.ulvanejdbc;

import java.util.Arrays;
import java.util.Collection;
import java.util.Locale;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** A query's words outside quotes and comments, which show whether it only reads. */
public final class QueryText {
  private static final Collection<String> READS = Arrays.asList("select", "values", "table", "show");

  /** These may hold or run one of {@link #WRITES}. */
  private static final Collection<String> READS_OR_WRITES = Arrays.asList("with", "explain");

  private static final Collection<String> WRITES = Arrays.asList("insert", "update", "delete", "merge");

  private static final Pattern DOLLAR_QUOTE = Pattern.compile("\\$(?:[\\p{L}_][\\p{L}\\p{N}_]*+)?\\$");

  private final String sql;
  private int at;

  /** The first word has been read. */
  private boolean begun;

  private QueryText(String sql) {
    this.sql = sql;
  }

  /** Whether the query reads and does nothing else, as far as its text shows: a function that it calls may do more. */
  public static boolean onlyReads(String sql) {
    QueryText text = new QueryText(sql);
    String word = text.nextWord();
    if (!READS_OR_WRITES.contains(word)) return READS.contains(word);
    while (!word.isEmpty() && !WRITES.contains(word)) word = text.nextWord();
    return word.isEmpty();
  }

  /** In lower case; empty past the last one. */
  private String nextWord() {
    while (at < sql.length() && !isOfWord(at)) skip();
    begun = true;
    int start = at;
    while (at < sql.length() && (isOfWord(at) || sql.charAt(at) == '$')) ++at;
    return sql.substring(start, at).toLowerCase(Locale.ROOT);
  }

  private boolean isOfWord(int index) {
    return index >= 0 && (Character.isLetterOrDigit(sql.charAt(index)) || sql.charAt(index) == '_');
  }

  /** Skips a comment, what stands in quotes, or a single character. */
  private void skip() {
    char first = sql.charAt(at);
    // MariaDB has comments after a hash. In the middle of a statement it is an operator of PostgreSQL's.
    if (sql.startsWith("--", at) || (first == '#' && !begun)) {
      skipLine();
    } else if (sql.startsWith("/*", at)) {
      skipComment();
    } else if (first == '\'' && followsEscapeMark()) {
      skipEscaped();
    } else if (first == '\'' || first == '"' || first == '`') {
      skipPast(String.valueOf(first), at + 1);
    } else if (first == '$') {
      skipDollarQuotes();
    } else {
      ++at;
    }
  }

  private void skipLine() {
    while (at < sql.length() && sql.charAt(at) != '\n' && sql.charAt(at) != '\r') ++at;
  }

  /** Comments nest. */
  private void skipComment() {
    int depth = 0;
    do {
      boolean opens = sql.startsWith("/*", at);
      boolean closes = sql.startsWith("*/", at);
      depth += opens ? 1 : closes ? -1 : 0;
      at += opens || closes ? 2 : 1;
    } while (depth > 0 && at < sql.length());
  }

  /** A letter E by itself, after which a backslash keeps a quote from ending the text. */
  private boolean followsEscapeMark() {
    return at > 0 && (sql.charAt(at - 1) == 'e' || sql.charAt(at - 1) == 'E') && !isOfWord(at - 2);
  }

  private void skipEscaped() {
    int end = at;
    do {
      for (++end; end < sql.length() && sql.charAt(end) != '\''; ++end) {
        if (sql.charAt(end) == '\\') ++end;
      }
      ++end;
    } while (end < sql.length() && sql.charAt(end) == '\'');
    at = Math.min(end, sql.length());
  }

  private void skipDollarQuotes() {
    Matcher quote = DOLLAR_QUOTE.matcher(sql).region(at, sql.length());
    if (quote.lookingAt()) {
      skipPast(quote.group(), quote.end());
    } else {
      ++at;
    }
  }

  private void skipPast(String end, int from) {
    int found = sql.indexOf(end, from);
    at = found < 0 ? sql.length() : found + end.length();
  }
}
