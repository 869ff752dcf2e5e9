package doubles;

import java.sql.SQLException;
import java.util.Arrays;
import java.util.HashMap;
import java.util.Map;
import java.util.StringJoiner;

/** The script that the doubles follow, and the calls that reached them. */
public final class Recorder {
  private static final Map<String, String> ANSWERS = new HashMap<>();
  private static final StringBuilder CALLS = new StringBuilder();

  private Recorder() {}

  /**
   * From now on the member answers so: "throw", "throw 9" causes, "throw 9 ring", "null", its own text, or as "usual".
   */
  public static void answer(String member, String text) {
    ANSWERS.put(member, text);
    ANSWERS.remove(member, "usual");
  }

  /** The calls since the last time, a line each. */
  public static String take() {
    String taken = CALLS.toString();
    CALLS.setLength(0);
    return taken;
  }

  /** Forgets script and calls. */
  public static void forget() {
    ANSWERS.clear();
    CALLS.setLength(0);
  }

  /** Records a call, then answers as scripted. */
  public static String enter(String member, String otherwise, Object... arguments) {
    StringJoiner joined = new StringJoiner(", ", member + "(", ")\n");
    for (Object argument : arguments == null ? new Object[0] : arguments) {
      joined.add(argument instanceof Object[] ? Arrays.toString((Object[]) argument) : String.valueOf(argument));
    }
    CALLS.append(joined);
    return value(member, scripted(member, otherwise));
  }

  static String scripted(String key, String otherwise) {
    return ANSWERS.getOrDefault(key, otherwise);
  }

  /** What a scripted text stands for. */
  static String value(String member, String text) {
    if (text.equals("throw") || text.startsWith("throw ")) {
      throw Recorder.<RuntimeException>unchecked(refusal(member, text));
    }
    return text.equals("null") ? null : text;
  }

  private static SQLException refusal(String member, String text) {
    SQLException refusal = new SQLException(member + " refused");
    SQLException innermost = refusal;
    String[] words = text.split(" ");
    int causes = words.length == 1 ? 0 : Integer.parseInt(words[1]);
    for (int cause = 1; cause <= causes; ++cause) refusal = new SQLException(member + " refused, " + cause, refusal);
    if (text.endsWith("ring")) {
      innermost.initCause(refusal);
      innermost.setNextException(refusal);
    }
    return refusal;
  }

  /** Lets a checked exception out of members that do not declare it. */
  @SuppressWarnings("unchecked")
  private static <E extends Exception> E unchecked(Exception exception) throws E {
    throw(E) exception;
  }
}
