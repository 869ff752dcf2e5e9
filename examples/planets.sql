create table planets (name varchar(20), moons int, seen date, note varchar(40));
insert into planets values
  ('Mercury', 0, null, ''),
  ('Земля', 1, null, 'home 🌍'),
  ('木星', 95, date '1610-01-07', null);
select * from planets order by moons;
