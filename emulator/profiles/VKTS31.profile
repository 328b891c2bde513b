# Series 31, single-sided: 20-character firmware containing "VKT31", encoder, no smart card.
model = VKTS31
firmware = VKT31-M V1.02.03.016
serial = S31000001
head_resistance = 2950
panels_printed = 1234
printer_errors = 0
ribbon_code = 47
ribbon_remaining = 300
ribbon_capacity = 500
encoder = yes
