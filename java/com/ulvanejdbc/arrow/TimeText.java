package com.ulvanejdbc.arrow;

import com.ulvanejdbc.UtcText;
import java.sql.SQLException;
import java.util.concurrent.TimeUnit;

/** The texts of a field's dates and times, as drivers move their own objects between time zones. */
interface TimeText {
  /** Of a value that is not null. */
  String at(int row) throws SQLException;

  /** @param zone suffix of a timestamp in UTC */
  static TimeText of(ParameterField field, String zone) throws SQLException {
    switch (field.format.substring(0, Math.min(3, field.format.length()))) {
      case "tdD":
        return row -> UtcText.ofDay(field.int32(row));
      case "tdm":
        return days(field, TimeUnit.MILLISECONDS);
      case "tts":
        return timesOfDay(field, TimeUnit.SECONDS, true);
      case "ttm":
        return timesOfDay(field, TimeUnit.MILLISECONDS, true);
      case "ttu":
        return timesOfDay(field, TimeUnit.MICROSECONDS, false);
      case "ttn":
        return timesOfDay(field, TimeUnit.NANOSECONDS, false);
      case "tss":
        return timestamps(field, TimeUnit.SECONDS, zone);
      case "tsm":
        return timestamps(field, TimeUnit.MILLISECONDS, zone);
      case "tsu":
        return timestamps(field, TimeUnit.MICROSECONDS, zone);
      case "tsn":
        return timestamps(field, TimeUnit.NANOSECONDS, zone);
      default:
        throw field.unknown();
    }
  }

  /** Whether a timestamp's values are instants, counted in UTC whatever time zone the format names. */
  static boolean isInstant(ParameterField field) {
    return field.format.length() > "tsu:".length();
  }

  static TimeText days(ParameterField field, TimeUnit unit) {
    long perDay = unit.convert(1, TimeUnit.DAYS);
    return row -> UtcText.ofDay(Math.floorDiv(field.int64(row), perDay));
  }

  static TimeText timesOfDay(ParameterField field, TimeUnit unit, boolean inInts) {
    return row -> {
      long units = inInts ? field.int32(row) : field.int64(row);
      if (units < 0 || units >= unit.convert(1, TimeUnit.DAYS)) throw new UnfitValueException(units, field.format);
      return UtcText.ofTimeOfDay(unit.toNanos(units));
    };
  }

  static TimeText timestamps(ParameterField field, TimeUnit unit, String zone) {
    // Farther from 1970 than this, a year may not fit 32 bits.
    long maxDay = 365L * (Integer.MAX_VALUE - 2000);
    long perDay = unit.convert(1, TimeUnit.DAYS);
    String suffix = isInstant(field) ? zone : "";
    return row -> {
      long units = field.int64(row);
      long day = Math.floorDiv(units, perDay);
      if (Math.abs(day) > maxDay) throw new UnfitValueException(units, field.format);
      return UtcText.ofDayAndTime(day, unit.toNanos(Math.floorMod(units, perDay))) + suffix;
    };
  }
}
